#include "program/output/CellBounds.h"

#include "qorvel/base/interleave.h"

#include <algorithm>

namespace program {

namespace {

struct Side {
    double low;
    double high;
};

/// The part of [-extent, extent) that the first `count` bits of a coordinate leave. Counted from
/// the middle, so that a side needs one rounding, by its place alone.
Side sideOf(std::uint64_t code, std::uint32_t count, double extent) {
    constexpr std::uint64_t kMiddle = std::uint64_t{1} << 63;
    const std::uint64_t inside = count == 0 ? UINT64_MAX : count == 64 ? 0 : UINT64_MAX >> count;
    const auto first = static_cast<std::int64_t>((code & ~inside) - kMiddle);
    const auto last = static_cast<std::int64_t>((code | inside) - kMiddle);
    const double end = last == INT64_MAX ? 0x1p63 : static_cast<double>(last + 1);
    return {static_cast<double>(first) * 0x1p-63 * extent, end * 0x1p-63 * extent};
}

} // namespace

CellBounds cellBounds(const SpaceBox& cell) {
    const std::uint64_t first = cell.getFirst64Bits();
    const std::uint64_t second = cell.getSecond64Bits();
    const std::uint32_t depth = std::min(cell.getGeoHashBitDepth(), qorvel_detail::kMaxDepth);
    const auto codeFrom = [&](std::uint32_t shift) {
        return qorvel_detail::evenBits(first >> shift) << 32 |
               qorvel_detail::evenBits(second >> shift);
    };
    const Side longitude = sideOf(codeFrom(1), (depth + 1) / 2, 180.0);
    const Side latitude = sideOf(codeFrom(0), depth / 2, 90.0);
    return {longitude.low, latitude.low, longitude.high, latitude.high};
}

} // namespace program
