#ifndef QORVEL_GEODESY_DETAIL_DECODE_H
#define QORVEL_GEODESY_DETAIL_DECODE_H

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

struct Degrees {
    double latitude;
    double longitude;
};

/// Takes apart 128 interleaved bits, a longitude bit before a latitude bit, and scales both codes
/// to degrees. The two expressions differ in form: adding 1 first rounds away the last bits of a
/// longitude, and so the eastern end of the world comes out as exactly 180, whereas latitude stays
/// below 90.
constexpr Degrees decodeInterleaved(std::uint64_t first, std::uint64_t second) {
    const double fLatitude = codeToFraction((evenBits(first) << 32) | evenBits(second));
    const double fLongitude = codeToFraction((evenBits(first >> 1) << 32) | evenBits(second >> 1));
    constexpr double span = kMaxLongitude - kMinLongitude;
    return {fLatitude * (kMaxLatitude - kMinLatitude) / 2 + (kMaxLatitude + kMinLatitude) / 2,
            kMinLongitude + (fLongitude + 1) * span / 2};
}

} // namespace qorvel_detail

#endif
