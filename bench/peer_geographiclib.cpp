#include "bench/Peer.h"

#include <GeographicLib/Geodesic.hpp>
#include <GeographicLib/Geohash.hpp>

namespace peers {

Contestants ofGeographicLib(const Inputs& inputs) {
    const std::vector<Point>& points = inputs.points;
    Contestants all;
    all.push_back(
        contestant(Task::text, "GeographicLib (Geohash)", points.size(), [points](std::size_t i) {
            std::string text;
            GeographicLib::Geohash::Forward(points[i].latitude, points[i].longitude, kTextLength,
                                            text);
            return text;
        }));
    addDistances(
        all, inputs, Task::nearGeodesic, Task::farGeodesic, "GeographicLib (Geodesic)",
        [](const Point& point) { return point; },
        [](const Point& from, const Point& to) {
            double metres = 0.0;
            GeographicLib::Geodesic::WGS84().Inverse(from.latitude, from.longitude, to.latitude,
                                                     to.longitude, metres);
            return metres;
        });
    return all;
}

} // namespace peers
