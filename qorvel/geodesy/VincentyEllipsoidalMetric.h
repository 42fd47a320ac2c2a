#ifndef QORVEL_GEODESY_VINCENTYELLIPSOIDALMETRIC_H
#define QORVEL_GEODESY_VINCENTYELLIPSOIDALMETRIC_H

#include "qorvel/config.h"
#include "qorvel/geodesy/IMetric.h"

QORVEL_BEGIN_NAMESPACE

/// Geodesics on the WGS-84 ellipsoid by T. Vincenty, "Direct and inverse solutions of geodesics on
/// the ellipsoid with application of nested equations", Survey Review 23 (1975).
///
/// Both inverse operations iterate until the longitude on the auxiliary sphere moves by no more
/// than 1e-12 rad, 1000 times at most. Nearly antipodal points do not converge; the last values are
/// used then, and the distance may be off by a hundred kilometres.
class QORVEL_EXPORT VincentyEllipsoidalMetric : public IMetric {
public:
    VincentyEllipsoidalMetric() = default;
    VincentyEllipsoidalMetric(const VincentyEllipsoidalMetric&) = default;
    VincentyEllipsoidalMetric& operator=(const VincentyEllipsoidalMetric&) = default;
    ~VincentyEllipsoidalMetric() override;

    /// The inverse problem; 0 between coincident points. Within two millimetres where it
    /// converges.
    double distance(const IPoint& p1, const IPoint& p2) const override;

    /// The forward azimuth at `p1`; 0 between coincident points.
    double azimuth(const IPoint& p1, const IPoint& p2) const override;

    /// The direct problem, iterated until the arc moves by no more than exp(-12) rad (about
    /// 6.1e-6): the result is within about a decimetre. The longitude is in [-180, 180) for a
    /// valid `p` and less than a hundred times around the earth; after that it may lie outside.
    PointGeodetic128* destination(const IPoint& p, double azimuth, double distance) const override;
};

QORVEL_END_NAMESPACE

#endif
