#include "bench/Peer.h"

#include "qorvel/geodesy/PointGeodetic128.h"
#include "qorvel/geodesy/SpheroidalMetric.h"
#include "qorvel/geodesy/VincentyEllipsoidalMetric.h"
#include "qorvel/geohash/SpaceBox.h"
#include "qorvel/geohash/UtilG2.h"

namespace peers {

namespace {

constexpr std::uint32_t kDepth = kTextLength * UtilG2::_BITS_PER_GEOHASH_CHAR;

} // namespace

Contestants ofQorvel(const Inputs& inputs) {
    const std::vector<Point>& points = inputs.points;
    const auto convert = [](const Point& point) {
        return PointGeodetic128(point.latitude, point.longitude);
    };
    Contestants all;
    all.push_back(contestant(Task::cell, "qorvel", points.size(), [points](std::size_t i) {
        return SpaceBox(points[i].latitude, points[i].longitude, kDepth);
    }));
    all.push_back(contestant(Task::text, "qorvel", points.size(), [points](std::size_t i) {
        return SpaceBox(points[i].latitude, points[i].longitude, kDepth).toASCIIString();
    }));
    addDistances(
        all, inputs, Task::nearGreatCircle, Task::farGreatCircle, "qorvel", convert,
        [](const IPoint& from, const IPoint& to) { return SpheroidalMetric().distance(from, to); });
    addDistances(all, inputs, Task::nearGeodesic, Task::farGeodesic, "qorvel", convert,
                 [](const IPoint& from, const IPoint& to) {
                     return VincentyEllipsoidalMetric().distance(from, to);
                 });
    return all;
}

} // namespace peers
