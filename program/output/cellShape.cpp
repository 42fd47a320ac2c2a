#include "program/output/cellShape.h"

#include <algorithm>
#include <ogr_geometry.h>

namespace program {

namespace {

constexpr std::uint32_t kMaxDepth = 128;

/// Bits 63, 61, ... of a word, closed up.
std::uint64_t everySecondBit(std::uint64_t word) {
    std::uint64_t bits = word >> 1 & 0x5555555555555555U;
    bits = (bits | bits >> 1) & 0x3333333333333333U;
    bits = (bits | bits >> 2) & 0x0F0F0F0F0F0F0F0FU;
    bits = (bits | bits >> 4) & 0x00FF00FF00FF00FFU;
    bits = (bits | bits >> 8) & 0x0000FFFF0000FFFFU;
    return (bits | bits >> 16) & 0x00000000FFFFFFFFU;
}

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
    const std::uint32_t depth = std::min(cell.getGeoHashBitDepth(), kMaxDepth);
    const auto codeFrom = [&](std::uint32_t shift) {
        return everySecondBit(first << shift) << 32 | everySecondBit(second << shift);
    };
    const Side longitude = sideOf(codeFrom(0), (depth + 1) / 2, 180.0);
    const Side latitude = sideOf(codeFrom(1), depth / 2, 90.0);
    return {longitude.low, latitude.low, longitude.high, latitude.high};
}

std::unique_ptr<OGRPolygon> cellPolygon(const SpaceBox& cell) {
    const CellBounds bounds = cellBounds(cell);
    auto ring = std::make_unique<OGRLinearRing>();
    ring->addPoint(bounds.west, bounds.south);
    ring->addPoint(bounds.east, bounds.south);
    ring->addPoint(bounds.east, bounds.north);
    ring->addPoint(bounds.west, bounds.north);
    ring->addPoint(bounds.west, bounds.south);
    auto polygon = std::make_unique<OGRPolygon>();
    polygon->addRingDirectly(ring.release());
    return polygon;
}

} // namespace program
