#ifndef QORVEL_GEOHASH_DETAIL_POINTCODE_H
#define QORVEL_GEOHASH_DETAIL_POINTCODE_H

#include "qorvel/base/bits.h"
#include "qorvel/base/decode.h"
#include "qorvel/geohash/detail/Cell.h"

#include <array>
#include <bit>
#include <cstdint>

/// From degrees to fixed-point codes and from codes to the bits of a cell.
namespace qorvel_detail {

/// Fixed-point codes: the range of a coordinate cut into 2^64 steps, growing north and east.
struct PointCode {
    std::uint64_t latitude;
    std::uint64_t longitude;
};

/// 2^63 plus x times 2^63, truncated toward zero. False and code 0 outside [-1, 1). Two oddities
/// are kept, because the codes that hosts have stored must not change: NaN is accepted with code
/// 0, and below 2^-74 the shift wraps, which leaves some of the lowest bits set.
constexpr bool fractionToCode(double x, std::uint64_t& code) {
    code = 0;
    if (x < -1.0 || x >= 1.0) {
        return false;
    }
    constexpr std::uint64_t implicitOne = std::uint64_t{1} << 52;
    const auto bits = std::bit_cast<std::uint64_t>(x);
    const auto exponent = static_cast<std::uint32_t>(bits >> 52) & 0x7FFU;
    if (exponent == 0x7FFU) {
        return true;
    }
    if (exponent == 0) {
        code = kZeroCode;
        return true;
    }
    const std::uint64_t significand = (bits & (implicitOne - 1)) | implicitOne;
    const std::uint64_t distance = exponent > 1012 ? shiftLeft(significand, exponent - 1012)
                                                   : shiftRight(significand, 1012 - exponent);
    code = (bits >> 63) != 0 ? kZeroCode - distance : kZeroCode + distance;
    return true;
}

/// The codes of a point in degrees; false outside [-90, 90) and [-180, 180). NaN passes, see
/// fractionToCode. Both codes are written in any case.
constexpr bool encodePoint(double latitude, double longitude, PointCode& code) {
    const bool latitudeFits = fractionToCode(latitude / 90.0, code.latitude);
    const bool longitudeFits = fractionToCode(longitude / 180.0, code.longitude);
    return latitudeFits && longitudeFits;
}

consteval std::array<std::int32_t, 256> makeInterleaveMap() {
    std::array<std::int32_t, 256> map{};
    for (std::uint32_t value = 0; value < map.size(); ++value) {
        for (std::uint32_t bit = 0; bit < 8; ++bit) {
            map[value] |= static_cast<std::int32_t>((value >> bit & 1U) << (2 * bit));
        }
    }
    return map;
}

/// Entry v is v with its bits spread to the even positions.
inline constexpr std::array<std::int32_t, 256> interleaveMap = makeInterleaveMap();

/// The low 32 bits of a code, spread to the even positions of a word.
constexpr std::uint64_t spread(std::uint64_t code) {
    std::uint64_t word = 0;
    for (std::uint32_t byte = 0; byte < 4; ++byte) {
        const auto chunk = static_cast<std::uint64_t>(interleaveMap[code >> (8 * byte) & 0xFFU]);
        word |= chunk << (16 * byte);
    }
    return word;
}

/// The cell of a point. All 128 bits are filled, whatever the depth.
constexpr Cell interleave(PointCode code, std::uint32_t depth) {
    // A corner of a cell has zeros behind the bits that count.
    const bool isLong = ((code.longitude | code.latitude) & UINT32_MAX) != 0;
    return {spread(code.longitude >> 32) << 1 | spread(code.latitude >> 32),
            isLong ? spread(code.longitude) << 1 | spread(code.latitude) : 0, depth};
}

} // namespace qorvel_detail

#endif
