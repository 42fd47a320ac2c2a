#include "qorvel/geodesy/distanceByMetric.h"

#include "qorvel/geodesy/EuclideanMetricEllipsoid.h"
#include "qorvel/geodesy/EuclideanMetricSpheroid.h"
#include "qorvel/geodesy/IPoint.h"
#include "qorvel/geodesy/detail/GeodesyContext.h"

QORVEL_BEGIN_NAMESPACE

double distanceByMetric(std::int32_t metric, const IPoint& p1, const IPoint& p2) {
    const qorvel_detail::GeodesyContext& context = *qorvel_detail::GeodesyContext::get();
    switch (metric) {
    case 0:
        return EuclideanMetricEllipsoid(p1.getLatitude(), p1.getLongitude()).distance(p1, p2);
    case 1:
        return EuclideanMetricSpheroid(p1.getLatitude(), p1.getLongitude()).distance(p1, p2);
    case 2:
        return context.spheroidalMetric().distance(p1, p2);
    default:
        return context.vincentyMetric().distance(p1, p2);
    }
}

QORVEL_END_NAMESPACE
