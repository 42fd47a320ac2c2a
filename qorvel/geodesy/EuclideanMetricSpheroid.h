#ifndef QORVEL_GEODESY_EUCLIDEANMETRICSPHEROID_H
#define QORVEL_GEODESY_EUCLIDEANMETRICSPHEROID_H

#include "qorvel/config.h"
#include "qorvel/geodesy/EuclideanMetric.h"

QORVEL_BEGIN_NAMESPACE

/// The Mercator projection of the sphere whose radius is the semi-major axis of WGS-84, scaled by
/// the cosine of the reference latitude so that lengths are true at the reference point.
class QORVEL_EXPORT EuclideanMetricSpheroid : public EuclideanMetric {
public:
    /// The reference point, degrees.
    EuclideanMetricSpheroid(double referenceLatitude, double referenceLongitude);
    EuclideanMetricSpheroid(const EuclideanMetricSpheroid&) = default;
    EuclideanMetricSpheroid& operator=(const EuclideanMetricSpheroid&) = default;
    ~EuclideanMetricSpheroid() override;

    double toLongitude(double x) const override;
    double toLatitude(double y) const override;
    double toX(const IPoint& p) const override;
    double toY(const IPoint& p) const override;

private:
    double scale_;
};

QORVEL_END_NAMESPACE

#endif
