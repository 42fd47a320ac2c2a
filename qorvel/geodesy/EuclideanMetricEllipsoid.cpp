#include "qorvel/geodesy/EuclideanMetricEllipsoid.h"

#include "qorvel/geodesy/IPoint.h"
#include "qorvel/geodesy/detail/GeodesyContext.h"
#include "qorvel/geodesy/detail/angles.h"

#include <cmath>

QORVEL_BEGIN_NAMESPACE

using qorvel_detail::kPi;
using qorvel_detail::square;
using qorvel_detail::toRadians;

namespace {

double semiMajorAxis() {
    return qorvel_detail::defaultEllipsoid().semiMajorAxis;
}

/// The true length at a latitude in degrees against that at the equator.
double scaleAt(double latitude) {
    const double phi = toRadians(latitude);
    const double e = qorvel_detail::defaultEllipsoid().eccentricity;
    return std::cos(phi) / std::sqrt(1 - square(e) * square(std::sin(phi)));
}

/// The isometric latitude of a latitude in degrees.
double ordinate(double latitude) {
    const double phi = toRadians(latitude);
    const double e = qorvel_detail::defaultEllipsoid().eccentricity;
    const double eSinPhi = e * std::sin(phi);
    return std::log(std::tan(kPi / 4 + phi / 2) * std::pow((1 - eSinPhi) / (1 + eSinPhi), e / 2));
}

/// From the conformal latitude to the geodetic one, radians.
double latitudeOf(double chi) {
    const double e2 = square(qorvel_detail::defaultEllipsoid().eccentricity);
    const double e4 = e2 * e2;
    const double e6 = e4 * e2;
    const double e8 = e6 * e2;
    return chi + (e2 / 2 + 5 * e4 / 24 + e6 / 12 + 13 * e8 / 360) * std::sin(2 * chi) +
           (7 * e4 / 48 + 29 * e6 / 240 + 811 * e8 / 11520) * std::sin(4 * chi) +
           (7 * e6 / 120 + 81 * e8 / 1120) * std::sin(6 * chi) +
           (4279 * e8 / 161280) * std::sin(8 * chi);
}

} // namespace

EuclideanMetricEllipsoid::EuclideanMetricEllipsoid(double referenceLatitude,
                                                   double referenceLongitude)
    : EuclideanMetric(referenceLatitude, referenceLongitude), scale_(scaleAt(referenceLatitude)) {}

EuclideanMetricEllipsoid::~EuclideanMetricEllipsoid() = default;

double EuclideanMetricEllipsoid::toLongitude(double x) const {
    return mercatorLongitude(x, scale_, semiMajorAxis());
}

double EuclideanMetricEllipsoid::toLatitude(double y) const {
    const double t = std::exp(-y / scale_ / semiMajorAxis());
    const double chi = kPi / 2 - 2 * std::atan(t);
    return getReferenceLatitude() + qorvel_detail::toDegrees(latitudeOf(chi));
}

double EuclideanMetricEllipsoid::toX(const IPoint& p) const {
    return mercatorX(p, scale_, semiMajorAxis());
}

double EuclideanMetricEllipsoid::toY(const IPoint& p) const {
    return scale_ * semiMajorAxis() *
           (ordinate(p.getLatitude()) - ordinate(getReferenceLatitude()));
}

QORVEL_END_NAMESPACE
