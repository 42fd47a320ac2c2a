#include "bench/Peer.h"

#include <s2/s2cell_id.h>
#include <s2/s2latlng.h>

namespace peers {

Contestants ofS2(const Inputs& inputs) {
    const std::vector<Point>& points = inputs.points;
    const auto convert = [](const Point& point) {
        return S2LatLng::FromDegrees(point.latitude, point.longitude);
    };
    Contestants all;
    all.push_back(
        contestant(Task::cell, "S2 (S2CellId)", points.size(),
                   [points, convert](std::size_t i) { return S2CellId(convert(points[i])); }));
    Contestant text =
        contestant(Task::text, "S2 (token)", points.size(), [points, convert](std::size_t i) {
            return S2CellId(convert(points[i])).ToToken();
        });
    text.text = nullptr; // a text of another kind
    all.push_back(text);
    addDistances(all, inputs, Task::nearGreatCircle, Task::farGreatCircle, "S2 (S2LatLng)", convert,
                 [](const S2LatLng& from, const S2LatLng& to) {
                     return from.GetDistance(to).radians() * kEarthRadius;
                 });
    return all;
}

} // namespace peers
