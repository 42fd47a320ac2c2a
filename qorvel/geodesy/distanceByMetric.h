#ifndef QORVEL_GEODESY_DISTANCEBYMETRIC_H
#define QORVEL_GEODESY_DISTANCEBYMETRIC_H

#include "qorvel/config.h"

#include <cstdint>

QORVEL_BEGIN_NAMESPACE

class IPoint;

/// Metres between two points by the metric with the given number:
/// 0 is EuclideanMetricEllipsoid with `p1` as its reference point, 1 is EuclideanMetricSpheroid
/// with `p1` as its reference point, 2 is SpheroidalMetric, and every other number, negative ones
/// included, is VincentyEllipsoidalMetric. Does not allocate; any thread may call it.
QORVEL_EXPORT double distanceByMetric(std::int32_t metric, const IPoint& p1, const IPoint& p2);

QORVEL_END_NAMESPACE

#endif
