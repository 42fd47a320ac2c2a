#include "bench/Peer.h"

#define BOOST_ALLOW_DEPRECATED_HEADERS // it includes some itself
#include <boost/geometry.hpp>

namespace peers {

namespace bg = boost::geometry;

namespace {

template <class Point2>
Point2 convertTo(const Point& point) {
    return Point2(point.longitude, point.latitude);
}

} // namespace

Contestants ofBoost(const Inputs& inputs) {
    using OnSphere = bg::model::point<double, 2, bg::cs::spherical_equatorial<bg::degree>>;
    using OnEllipsoid = bg::model::point<double, 2, bg::cs::geographic<bg::degree>>;
    const bg::strategy::distance::haversine<double> haversine(kEarthRadius);
    const bg::strategy::distance::vincenty<bg::srs::spheroid<double>> vincenty(
        bg::srs::spheroid<double>(6378137.0, 6356752.3142451793));
    Contestants all;
    addDistances(all, inputs, Task::nearGreatCircle, Task::farGreatCircle, "Boost (haversine)",
                 convertTo<OnSphere>, [haversine](const OnSphere& from, const OnSphere& to) {
                     return bg::distance(from, to, haversine);
                 });
    addDistances(all, inputs, Task::nearGeodesic, Task::farGeodesic, "Boost (Vincenty)",
                 convertTo<OnEllipsoid>,
                 [vincenty](const OnEllipsoid& from, const OnEllipsoid& to) {
                     return bg::distance(from, to, vincenty);
                 });
    return all;
}

} // namespace peers
