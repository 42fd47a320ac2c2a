#include "engine/analysis/detail/EarthPoint.h"

#include "qorvel/base/wgs84.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace qorvel_engine::detail {

namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kA = qorvel_detail::kWgs84SemiMajorAxis;
constexpr double kB = qorvel_detail::kWgs84SemiMinorAxis;
constexpr double kFirstEccentricity2 = (kA * kA - kB * kB) / (kA * kA);
constexpr double kSecondEccentricity2 = (kA * kA - kB * kB) / (kB * kB);

} // namespace

EarthPoint toEarthPoint(const Degrees& degrees) {
    const double latitude = degrees.latitude * (kPi / 180.0);
    const double longitude = degrees.longitude * (kPi / 180.0);
    const double sine = std::sin(latitude);
    const double normal = kA / std::sqrt(1.0 - kFirstEccentricity2 * sine * sine);
    const double fromAxis = normal * std::cos(latitude);
    return {fromAxis * std::cos(longitude), fromAxis * std::sin(longitude),
            (1.0 - kFirstEccentricity2) * normal * sine};
}

/// B. R. Bowring, "Transformation from spatial to geographical coordinates", 1976; one step of it
/// is enough so near to the ellipsoid.
Degrees toDegrees(const EarthPoint& point) {
    const double fromAxis = std::sqrt(point.x * point.x + point.y * point.y);
    const double tangent = std::atan2(point.z * kA, fromAxis * kB);
    const double sine = std::sin(tangent);
    const double cosine = std::cos(tangent);
    const double latitude =
        std::atan2(point.z + kSecondEccentricity2 * kB * sine * sine * sine,
                   fromAxis - kFirstEccentricity2 * kA * cosine * cosine * cosine);
    const double longitude = std::atan2(point.y, point.x);
    return {std::clamp(latitude * (180.0 / kPi), -90.0, 90.0),
            std::clamp(longitude * (180.0 / kPi), -180.0, 180.0)};
}

} // namespace qorvel_engine::detail
