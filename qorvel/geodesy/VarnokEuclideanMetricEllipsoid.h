#ifndef QORVEL_GEODESY_VARNOKEUCLIDEANMETRICELLIPSOID_H
#define QORVEL_GEODESY_VARNOKEUCLIDEANMETRICELLIPSOID_H

#include "qorvel/config.h"
#include "qorvel/geodesy/EuclideanMetricEllipsoid.h"

QORVEL_BEGIN_NAMESPACE

/// The ellipsoidal plane that also tells where the second point lies in it.
class QORVEL_EXPORT VarnokEuclideanMetricEllipsoid : public EuclideanMetricEllipsoid {
public:
    /// The reference point, degrees.
    VarnokEuclideanMetricEllipsoid(double referenceLatitude, double referenceLongitude);
    VarnokEuclideanMetricEllipsoid(const VarnokEuclideanMetricEllipsoid&) = default;
    VarnokEuclideanMetricEllipsoid& operator=(const VarnokEuclideanMetricEllipsoid&) = default;
    ~VarnokEuclideanMetricEllipsoid() override;

    /// The distance from `p1` to `p2` in metres; `x2` and `y2` become the planar coordinates of
    /// `p2`, metres.
    virtual double distanceAndProjection(const IPoint& p1, const IPoint& p2, double& x2,
                                         double& y2) const;
};

QORVEL_END_NAMESPACE

#endif
