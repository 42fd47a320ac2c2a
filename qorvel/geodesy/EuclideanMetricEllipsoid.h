#ifndef QORVEL_GEODESY_EUCLIDEANMETRICELLIPSOID_H
#define QORVEL_GEODESY_EUCLIDEANMETRICELLIPSOID_H

#include "qorvel/config.h"
#include "qorvel/geodesy/EuclideanMetric.h"

QORVEL_BEGIN_NAMESPACE

/// The Mercator projection of the WGS-84 ellipsoid, scaled so that lengths are true at the
/// reference point: cos(phi0) / sqrt(1 - e^2 sin^2(phi0)). The way back from y uses the series for
/// the conformal latitude in J. P. Snyder, "Map Projections: A Working Manual" (1987), equation
/// 3-5.
class QORVEL_EXPORT EuclideanMetricEllipsoid : public EuclideanMetric {
public:
    /// The reference point, degrees.
    EuclideanMetricEllipsoid(double referenceLatitude, double referenceLongitude);
    EuclideanMetricEllipsoid(const EuclideanMetricEllipsoid&) = default;
    EuclideanMetricEllipsoid& operator=(const EuclideanMetricEllipsoid&) = default;
    ~EuclideanMetricEllipsoid() override;

    double toLongitude(double x) const override;
    double toLatitude(double y) const override;
    double toX(const IPoint& p) const override;
    double toY(const IPoint& p) const override;

private:
    double scale_;
};

QORVEL_END_NAMESPACE

#endif
