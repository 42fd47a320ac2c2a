#include "qorvel/geodesy/EuclideanMetric.h"

#include "qorvel/geodesy/PointGeodetic128.h"
#include "qorvel/geodesy/detail/angles.h"

#include <cmath>

QORVEL_BEGIN_NAMESPACE

using qorvel_detail::kDegreesPerRadian;
using qorvel_detail::square;

EuclideanMetric::EuclideanMetric(double referenceLatitude, double referenceLongitude)
    : referenceLongitude_(referenceLongitude), referenceLatitude_(referenceLatitude) {}

EuclideanMetric::~EuclideanMetric() = default;

double EuclideanMetric::distance(const IPoint& p1, const IPoint& p2) const {
    return std::sqrt(square(toX(p1) - toX(p2)) + square(toY(p1) - toY(p2)));
}

double EuclideanMetric::azimuth(const IPoint& p1, const IPoint& p2) const {
    return qorvel_detail::toAzimuth(std::atan2(toX(p2) - toX(p1), toY(p2) - toY(p1)));
}

PointGeodetic128* EuclideanMetric::destination(const IPoint& p, double azimuth,
                                               double distance) const {
    const double x = toX(p) + distance * std::sin(azimuth);
    const double y = toY(p) + distance * std::cos(azimuth);
    return new PointGeodetic128(toLatitude(y), toLongitude(x));
}

double EuclideanMetric::getReferenceLatitude() const {
    return referenceLatitude_;
}

double EuclideanMetric::mercatorX(const IPoint& p, double scale, double radius) const {
    double difference = p.getLongitude() - referenceLongitude_;
    if (difference > 180) {
        difference -= 360;
    } else if (difference < -180) {
        difference += 360;
    }
    return scale * radius * qorvel_detail::toRadians(difference);
}

double EuclideanMetric::mercatorLongitude(double x, double scale, double radius) const {
    const double longitude = referenceLongitude_ + kDegreesPerRadian * x / scale / radius;
    return longitude > 180 ? longitude - 360 : longitude;
}

QORVEL_END_NAMESPACE
