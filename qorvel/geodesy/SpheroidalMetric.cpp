#include "qorvel/geodesy/SpheroidalMetric.h"

#include "qorvel/base/wgs84.h"
#include "qorvel/geodesy/PointGeodetic128.h"
#include "qorvel/geodesy/detail/GeodesyContext.h"
#include "qorvel/geodesy/detail/angles.h"

#include <cmath>

QORVEL_BEGIN_NAMESPACE

using qorvel_detail::kTwoPi;
using qorvel_detail::square;
using qorvel_detail::toDegrees;
using qorvel_detail::toRadians;

namespace {

constexpr double kHaversineLimit = 10000.0; // metres

// What is beyond the limit for certain, by metres, where rounding takes less than a micrometre:
// such pairs need no haversine distance to tell which formula is theirs. A difference in latitude
// alone tells it for latitudes in range, whose cosines are not negative.
constexpr double kFarHaversine = 6.15e-7;
constexpr double kFarLatitudes = 0.0016; // radians
constexpr double kInRange = 1.57;        // radians
static_assert(kFarHaversine >
              1.0005 * qorvel_detail::square(kHaversineLimit /
                                             (2 * qorvel_detail::kWgs84SemiMajorAxis)));
static_assert(kFarLatitudes > 1.0005 * kHaversineLimit / qorvel_detail::kWgs84SemiMajorAxis);

bool isSurelyFar(double phi1, double phi2) {
    return std::abs(phi2 - phi1) > kFarLatitudes && std::abs(phi1) < kInRange &&
           std::abs(phi2) < kInRange;
}

double sphereRadius() {
    return qorvel_detail::defaultEllipsoid().sphereRadius;
}

} // namespace

SpheroidalMetric::~SpheroidalMetric() = default;

double SpheroidalMetric::distance(const IPoint& p1, const IPoint& p2) const {
    const double phi1 = toRadians(p1.getLatitude());
    const double phi2 = toRadians(p2.getLatitude());
    const double lambda1 = toRadians(p1.getLongitude());
    const double lambda2 = toRadians(p2.getLongitude());
    const double radius = sphereRadius();
    const double cosines = std::cos(phi1) * std::cos(phi2);

    if (!isSurelyFar(phi1, phi2)) {
        const double h = square(std::sin((phi2 - phi1) / 2)) +
                         cosines * square(std::sin((lambda2 - lambda1) / 2));
        if (!(h > kFarHaversine)) {
            const double haversine = 2 * radius * std::atan2(std::sqrt(h), std::sqrt(1 - h));
            if (haversine <= kHaversineLimit) {
                return haversine;
            }
        }
    }
    return radius *
           std::acos(std::sin(phi1) * std::sin(phi2) + cosines * std::cos(lambda2 - lambda1));
}

double SpheroidalMetric::azimuth(const IPoint& p1, const IPoint& p2) const {
    const double phi1 = toRadians(p1.getLatitude());
    const double phi2 = toRadians(p2.getLatitude());
    const double deltaLambda = toRadians(p2.getLongitude()) - toRadians(p1.getLongitude());
    return qorvel_detail::toAzimuth(std::atan2(
        std::sin(deltaLambda) * std::cos(phi2),
        std::cos(phi1) * std::sin(phi2) - std::sin(phi1) * std::cos(phi2) * std::cos(deltaLambda)));
}

PointGeodetic128* SpheroidalMetric::destination(const IPoint& p, double azimuth,
                                                double distance) const {
    const double phi1 = toRadians(p.getLatitude());
    const double lambda1 = toRadians(p.getLongitude());
    const double delta = distance / sphereRadius();
    const double sinPhi1 = std::sin(phi1);
    const double cosPhi1 = std::cos(phi1);
    const double sinDelta = std::sin(delta);
    const double cosDelta = std::cos(delta);

    const double phi2 = std::asin(sinPhi1 * cosDelta + cosPhi1 * sinDelta * std::cos(azimuth));
    double lambda2 =
        lambda1 + std::atan2(sinDelta * std::sin(azimuth),
                             cosPhi1 * cosDelta - sinPhi1 * sinDelta * std::cos(azimuth));
    if (lambda2 > qorvel_detail::kPi) {
        lambda2 -= kTwoPi;
    } else if (lambda2 < -qorvel_detail::kPi) {
        lambda2 += kTwoPi;
    }
    return new PointGeodetic128(toDegrees(phi2), toDegrees(lambda2));
}

QORVEL_END_NAMESPACE
