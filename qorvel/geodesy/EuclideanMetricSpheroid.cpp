#include "qorvel/geodesy/EuclideanMetricSpheroid.h"

#include "qorvel/geodesy/IPoint.h"
#include "qorvel/geodesy/detail/GeodesyContext.h"
#include "qorvel/geodesy/detail/angles.h"

#include <cmath>

QORVEL_BEGIN_NAMESPACE

using qorvel_detail::toRadians;

namespace {

double sphereRadius() {
    return qorvel_detail::defaultEllipsoid().sphereRadius;
}

/// The Mercator ordinate of a latitude in degrees, on the unit sphere.
double ordinate(double latitude) {
    return std::log(std::tan(qorvel_detail::kPi / 4 + toRadians(latitude) / 2));
}

} // namespace

EuclideanMetricSpheroid::EuclideanMetricSpheroid(double referenceLatitude,
                                                 double referenceLongitude)
    : EuclideanMetric(referenceLatitude, referenceLongitude),
      scale_(std::cos(toRadians(referenceLatitude))) {}

EuclideanMetricSpheroid::~EuclideanMetricSpheroid() = default;

double EuclideanMetricSpheroid::toLongitude(double x) const {
    return mercatorLongitude(x, scale_, sphereRadius());
}

double EuclideanMetricSpheroid::toLatitude(double y) const {
    return getReferenceLatitude() +
           qorvel_detail::kDegreesPerRadian * std::atan(std::sinh(y / scale_ / sphereRadius()));
}

double EuclideanMetricSpheroid::toX(const IPoint& p) const {
    return mercatorX(p, scale_, sphereRadius());
}

double EuclideanMetricSpheroid::toY(const IPoint& p) const {
    return scale_ * sphereRadius() * (ordinate(p.getLatitude()) - ordinate(getReferenceLatitude()));
}

QORVEL_END_NAMESPACE
