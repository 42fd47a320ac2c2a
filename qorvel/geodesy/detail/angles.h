#ifndef QORVEL_GEODESY_DETAIL_ANGLES_H
#define QORVEL_GEODESY_DETAIL_ANGLES_H

#include <numbers>

namespace qorvel_detail {

inline constexpr double kPi = std::numbers::pi;
inline constexpr double kTwoPi = 2.0 * kPi;

inline constexpr double kRadiansPerDegree = kPi / 180.0;
inline constexpr double kDegreesPerRadian = 180.0 / kPi;
static_assert(kDegreesPerRadian == 57.29577951308232);

constexpr double toRadians(double degrees) {
    return degrees * kRadiansPerDegree;
}

constexpr double toDegrees(double radians) {
    return radians * kDegreesPerRadian;
}

/// A result of atan2 as an azimuth. A negative angle next to 0 becomes 2 pi by rounding.
constexpr double toAzimuth(double angle) {
    return angle < 0.0 ? angle + kTwoPi : angle;
}

constexpr double square(double value) {
    return value * value;
}

} // namespace qorvel_detail

#endif
