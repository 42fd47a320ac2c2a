#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_EARTHPOINT_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_EARTHPOINT_H

#include "engine/analysis/detail/state.h"

namespace qorvel_engine::detail {

/// A point by its distances from the centre of the earth, metres: on the ellipsoid WGS-84, or just
/// below it where it is a mean of several. Neither the poles nor the longitude 180 are special.
struct EarthPoint {
    double x = 0.0; ///< towards latitude 0, longitude 0
    double y = 0.0; ///< towards latitude 0, longitude 90
    double z = 0.0; ///< towards the north pole
};

struct Degrees {
    double latitude;  ///< -90 to 90
    double longitude; ///< -180 to 180
};

/// On the ellipsoid.
EarthPoint toEarthPoint(const Degrees& degrees);

/// In states.
inline void savePoint(const EarthPoint& point, StateWriter& out) {
    out.f64(point.x);
    out.f64(point.y);
    out.f64(point.z);
}

inline EarthPoint loadPoint(StateReader& in) {
    constexpr double kFarthest = 1e7; // beyond every point of the earth
    EarthPoint point;
    point.x = in.within(kFarthest);
    point.y = in.within(kFarthest);
    point.z = in.within(kFarthest);
    return point;
}

/// Where it lies on the map, right to a millimetre for means of points within 100 km of each other.
Degrees toDegrees(const EarthPoint& point);

/// The square of the straight line between two, square metres. Along the ground it is farther, by a
/// micrometre over 1 km and by 1.1 m over 100 km (the cube of the distance by 24 squares of the
/// earth's radius).
inline double squaredDistance(const EarthPoint& a, const EarthPoint& b) {
    const double x = a.x - b.x;
    const double y = a.y - b.y;
    const double z = a.z - b.z;
    return x * x + y * y + z * z;
}

} // namespace qorvel_engine::detail

#endif
