#include "qorvel/geodesy/VarnokEuclideanMetricEllipsoid.h"

#include "qorvel/geodesy/IPoint.h"
#include "qorvel/geodesy/detail/angles.h"

#include <cmath>

QORVEL_BEGIN_NAMESPACE

VarnokEuclideanMetricEllipsoid::VarnokEuclideanMetricEllipsoid(double referenceLatitude,
                                                               double referenceLongitude)
    : EuclideanMetricEllipsoid(referenceLatitude, referenceLongitude) {}

VarnokEuclideanMetricEllipsoid::~VarnokEuclideanMetricEllipsoid() = default;

double VarnokEuclideanMetricEllipsoid::distanceAndProjection(const IPoint& p1, const IPoint& p2,
                                                             double& x2, double& y2) const {
    const double x1 = toX(p1);
    const double y1 = toY(p1);
    x2 = toX(p2);
    y2 = toY(p2);
    return std::sqrt(qorvel_detail::square(x1 - x2) + qorvel_detail::square(y1 - y2));
}

QORVEL_END_NAMESPACE
