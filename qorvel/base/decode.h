#ifndef QORVEL_BASE_DECODE_H
#define QORVEL_BASE_DECODE_H

#include "qorvel/base/interleave.h"

#include <bit>
#include <cstdint>

/// From fixed-point codes back to degrees.
namespace qorvel_detail {

/// The code of fraction 0. Code 0 is -1, and 1 is just out of reach.
inline constexpr std::uint64_t kZeroCode = std::uint64_t{1} << 63;

inline constexpr double kMinLatitude = -90.0;
inline constexpr double kMaxLatitude = 90.0;
inline constexpr double kMinLongitude = -180.0;
inline constexpr double kMaxLongitude = 180.0;

/// (code - 2^63) / 2^63. What does not fit the 52 bits after the leading one is dropped, not
/// rounded, so a fraction never leaves [-1, 1).
constexpr double codeToFraction(std::uint64_t code) {
    if (code == kZeroCode) {
        return 0.0;
    }
    const bool negative = code < kZeroCode;
    const std::uint64_t magnitude = negative ? kZeroCode - code : code - kZeroCode;
    const int leadingZeros = std::countl_zero(magnitude);
    const std::uint64_t exponent = 1023U - static_cast<std::uint64_t>(leadingZeros);
    const std::uint64_t afterLeadingOne = (magnitude << leadingZeros) << 1;
    return std::bit_cast<double>((negative ? kZeroCode : 0) | (exponent << 52) |
                                 (afterLeadingOne >> 12));
}

/// The double next to a positive one, towards zero.
constexpr double justBelow(double value) {
    return std::bit_cast<double>(std::bit_cast<std::uint64_t>(value) - 1);
}

struct Degrees {
    double latitude;
    double longitude;
};

// Fractions of codes, scaled to degrees. The two expressions differ in form: adding 1 first rounds
// away the last bits of a longitude, and so the eastern end of the world comes out as exactly 180,
// whereas latitude stays below 90.
constexpr double latitudeAt(double fraction) {
    return fraction * (kMaxLatitude - kMinLatitude) / 2 + (kMaxLatitude + kMinLatitude) / 2;
}
constexpr double longitudeAt(double fraction) {
    constexpr double span = kMaxLongitude - kMinLongitude;
    return kMinLongitude + (fraction + 1) * span / 2;
}

/// Takes apart 128 interleaved bits, a longitude bit before a latitude bit.
constexpr std::uint64_t latitudeCode(std::uint64_t first, std::uint64_t second) {
    // Of most cells only bits of the first word count.
    return (evenBits(first) << 32) | (second == 0 ? 0 : evenBits(second));
}
constexpr std::uint64_t longitudeCode(std::uint64_t first, std::uint64_t second) {
    return latitudeCode(first >> 1, second >> 1);
}

/// The point of 128 interleaved bits.
constexpr Degrees decodeInterleaved(std::uint64_t first, std::uint64_t second) {
    return {latitudeAt(codeToFraction(latitudeCode(first, second))),
            longitudeAt(codeToFraction(longitudeCode(first, second)))};
}

/// From the west to the east of the cells of one depth, or from the south to the north: the codes
/// that have their first bits in common, and the degrees halfway between the first and the last of
/// these. The last code of a cell is not its outer edge.
struct CellSide {
    std::uint64_t rest; ///< the bits of a code that do not count

    explicit constexpr CellSide(std::uint32_t counted)
        : rest(counted < 64 ? ~std::uint64_t{0} >> counted : 0) {}

    static constexpr CellSide ofLatitude(std::uint32_t depth) { return CellSide(depth / 2); }
    static constexpr CellSide ofLongitude(std::uint32_t depth) {
        return CellSide(depth - depth / 2);
    }

    struct Ends {
        double first;
        double last;
    };

    /// The fractions of the first and the last code beside one of them.
    constexpr Ends ends(std::uint64_t code) const {
        constexpr std::uint64_t kDropped = (1U << 11) - 1; // of a fraction next to 1
        constexpr double kUnit = 0x1p-63;
        constexpr double kSome = 0x1p53; // beyond it two codes side by side may be one double
        if (rest >= kDropped && rest < kZeroCode / 2) {
            // Exact, as is the code behind the last one; of that one less, the lowest bits drop.
            const auto first =
                static_cast<double>(static_cast<std::int64_t>((code & ~rest) - kZeroCode));
            const double behind = first + static_cast<double>(static_cast<std::int64_t>(rest + 1));
            if (behind > kSome) {
                return {first * kUnit, justBelow(behind) * kUnit};
            }
            if (behind <= -kSome) {
                return {first * kUnit, behind * kUnit};
            }
        }
        return {codeToFraction(code & ~rest), codeToFraction(code | rest)};
    }

    constexpr double middleLatitude(std::uint64_t code) const {
        const Ends fractions = ends(code);
        return (latitudeAt(fractions.first) + latitudeAt(fractions.last)) / 2.0;
    }
    constexpr double middleLongitude(std::uint64_t code) const {
        const Ends fractions = ends(code);
        return (longitudeAt(fractions.first) + longitudeAt(fractions.last)) / 2;
    }
};

/// The centre of the cell that has the first `depth` of these bits, up to 128 of them.
constexpr Degrees centreOf(std::uint64_t first, std::uint64_t second, std::uint32_t depth) {
    return {CellSide::ofLatitude(depth).middleLatitude(latitudeCode(first, second)),
            CellSide::ofLongitude(depth).middleLongitude(longitudeCode(first, second))};
}

} // namespace qorvel_detail

#endif
