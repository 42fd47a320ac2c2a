#ifndef QORVEL_GEOHASH_DETAIL_POINTCODE_H
#define QORVEL_GEOHASH_DETAIL_POINTCODE_H

#include "qorvel/base/bits.h"
#include "qorvel/base/decode.h"
#include "qorvel/base/interleave.h"
#include "qorvel/geohash/detail/Cell.h"

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
    constexpr double leastWithoutWrap = 0x1p-74;
    if (x >= leastWithoutWrap || x <= -leastWithoutWrap) {
        code = kZeroCode + static_cast<std::uint64_t>(static_cast<std::int64_t>(x * 0x1p63));
        return true;
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
    const std::uint64_t distance = shiftRight(significand, 1012 - exponent);
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

/// A code with its bits spread to the even positions of two words.
struct SpreadCode {
    std::uint64_t first;
    std::uint64_t second;
};

/// A function that returns it in registers: two numbers that are written one by one and read at
/// once would wait for each other.
constexpr SpreadCode spread(std::uint64_t code) {
    // A corner of a cell has zeros behind the bits that count.
    return {spreadBits(code >> 32), (code & UINT32_MAX) == 0 ? 0 : spreadBits(code)};
}

/// The cell of two coordinates. All 128 bits are filled, whatever the depth.
constexpr Cell interleave(SpreadCode latitude, SpreadCode longitude, std::uint32_t depth) {
    return {longitude.first << 1 | latitude.first, longitude.second << 1 | latitude.second, depth};
}

/// The same of a point.
constexpr Cell interleave(PointCode code, std::uint32_t depth) {
    return interleave(spread(code.latitude), spread(code.longitude), depth);
}

} // namespace qorvel_detail

#endif
