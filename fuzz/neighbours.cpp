// The cells near a point, beside the model's; the edges of cells, depths for sizes, nearness.

#include "Bytes.h"
#include "access.h"
#include "law.h"
#include "testing/model/cells.h"

#include "qorvel/geodesy/PointGeodetic128.h"
#include "qorvel/geodesy/distanceByMetric.h"

#include <numbers>

namespace {

using Access = UtilG2TestAccess;

constexpr double kMeridian = std::numbers::pi * 6378137.0; // metres from pole to pole

void fuzzNearCells(double lat, double lon, std::uint32_t depth, double distance) {
    model::CellArray expected;
    model::CellArray boxes;
    std::uint32_t expectedCount = 0;
    std::uint32_t count = 0;
    model::pointToSpaceBoxes(lat, lon, depth, distance, expected, expectedCount);
    LAW(UtilG2::pointToSpaceBoxes(lat, lon, depth, distance, boxes.data(), count) == (count > 0));
    LAW(SpaceBox::getNearSpaceBoxes(lat, lon, depth, distance, boxes.data(), count));
    LAW(count == expectedCount);
    for (std::uint32_t i = 0; i < count; ++i) {
        LAW(boxes[i].getFirst64Bits() == expected[i].getFirst64Bits());
        LAW(boxes[i].getSecond64Bits() == expected[i].getSecond64Bits());
        LAW(boxes[i].getGeoHashBitDepth() == expected[i].getGeoHashBitDepth());
    }
}

void fuzzEdges(double lat, double lon, std::int32_t bits, double radius) {
    std::array<double, 4> edges{};
    const bool reached = Access::edges(lat, lon, bits, radius, edges.data());
    std::uint64_t latCode = 0;
    std::uint64_t lonCode = 0;
    if (model::encode(lat / 90.0, latCode) && model::encode(lon / 180.0, lonCode)) {
        const model::Edges e(latCode, lonCode, lat, static_cast<std::uint32_t>(bits));
        const std::array<double, 4> expected = {e.east, e.north, e.west, e.south};
        LAW(std::equal(edges.begin(), edges.end(), expected.begin(), same));
        LAW(std::isnan(lat) || reached == e.reachedBy(radius));
    }
}

void fuzzSizes(double lat, double size, std::uint64_t delta) {
    const std::int32_t bits = Access::latBits(size);
    LAW(Access::bits(lat, size) == 2 * std::min(bits, Access::lonBits(lat, size)) && bits <= 64);
    if (size >= 1e-3 && size <= 1e7) { // the smallest cells of at least the size
        LAW(std::ldexp(kMeridian, -bits) >= size * (1 - 1e-15));
        LAW(std::ldexp(kMeridian, -bits - 1) < size * (1 + 1e-15));
    }
    LAW(near(Access::latDistance(delta), std::ldexp(double(delta), -64) * kMeridian, 1e-6));
    LAW(Access::lonDistance(delta, 0.0) == 0.0);
}

void fuzzNearness(double lat1, double lon1, double lat2, double lon2) {
    const PointGeodetic128 from(lat1, lon1);
    const double distance = distanceByMetric(2, from, PointGeodetic128(lat2, lon2));
    LAW(UtilG2::nearFilter(lat1, lon1, lat2, lon2, distance) == !std::isnan(distance));
    LAW(!(UtilG2::nearFilter(lat1, lon1, lat2, lon2, std::nextafter(distance, -1.0))));
    double middle = 1000.0;
    LAW(UtilG2::midLongitude(lon1, lon2, middle));
    if (std::abs(lon1) <= 180.0 && std::abs(lon2) <= 180.0) { // half way eastward
        const double eastward = lon2 - lon1 + (lon1 > lon2 ? 360.0 : 0.0);
        LAW(std::abs(middle) <= 180.0);
        LAW(near(std::remainder(middle - lon1 - eastward / 2, 360.0), 0.0, 1e-12));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes bytes(data, size);
    const double lat = bytes.number(90.0);
    const double lon = bytes.number(180.0);
    const std::uint32_t depth = bytes.count();
    const auto half = static_cast<int>(depth / 2 % 64);
    // Any, and close to what a cell of this depth measures.
    const double distance =
        bytes.pick({bytes.number(2e7), std::ldexp(bytes.within(kMeridian), -half)});
    fuzzNearCells(lat, lon, depth, distance);
    fuzzEdges(lat, lon, bytes.pick({half, bytes.whole<std::int32_t>()}), distance);
    fuzzSizes(lat, distance, bytes.whole<std::uint64_t>());
    const double otherLat = bytes.pick({lat, bytes.number(90.0)});
    fuzzNearness(lat, lon, otherLat, bytes.pick({lon, bytes.number(180.0)}));
    return 0;
}
