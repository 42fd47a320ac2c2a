#ifndef QORVEL_GEODESY_IMETRIC_H
#define QORVEL_GEODESY_IMETRIC_H

#include "qorvel/config.h"

QORVEL_BEGIN_NAMESPACE

class IPoint;
class PointGeodetic128;

/// A way to measure on the earth. Points are read in degrees, distances are in metres, azimuths in
/// radians clockwise from north. Metrics hold nothing that changes: any thread may use one at any
/// time. The earth is WGS-84, as a sphere, a plane or an ellipsoid.
///
/// No metric reports errors or checks its points: coordinates out of range or NaN give whatever the
/// formulas give, most often NaN.
class QORVEL_EXPORT IMetric {
public:
    virtual ~IMetric();

    /// Metres between two points.
    virtual double distance(const IPoint& p1, const IPoint& p2) const = 0;

    /// The direction from `p1` to `p2`, radians in [0, 2 pi]: a hair west of north rounds to 2 pi.
    virtual double azimuth(const IPoint& p1, const IPoint& p2) const = 0;

    /// The point reached from `p` after `distance` metres in the direction `azimuth`, in radians.
    /// The caller owns the new point. Throws std::bad_alloc when memory runs out.
    virtual PointGeodetic128* destination(const IPoint& p, double azimuth,
                                          double distance) const = 0;

protected:
    IMetric() = default;
    IMetric(const IMetric&) = default;
    IMetric& operator=(const IMetric&) = default;
};

QORVEL_END_NAMESPACE

#endif
