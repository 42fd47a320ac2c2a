#ifndef QORVEL_GEODESY_SPHEROIDALMETRIC_H
#define QORVEL_GEODESY_SPHEROIDALMETRIC_H

#include "qorvel/config.h"
#include "qorvel/geodesy/IMetric.h"

QORVEL_BEGIN_NAMESPACE

/// Great circles on the sphere whose radius is the semi-major axis of WGS-84, 6378137 m.
class QORVEL_EXPORT SpheroidalMetric : public IMetric {
public:
    SpheroidalMetric() = default;
    SpheroidalMetric(const SpheroidalMetric&) = default;
    SpheroidalMetric& operator=(const SpheroidalMetric&) = default;
    ~SpheroidalMetric() override;

    /// The haversine formula up to and including 10 km; the spherical law of cosines where
    /// haversine gives more. The second is the less exact one, but a row's radius must go on
    /// accepting the same events: near the switch it is off by up to about a micrometre, between
    /// nearly antipodal points by decimetres, and it is NaN where rounding leaves the cosine
    /// outside [-1, 1].
    double distance(const IPoint& p1, const IPoint& p2) const override;

    /// The initial bearing of the great circle; 0 between coincident points.
    double azimuth(const IPoint& p1, const IPoint& p2) const override;

    /// The longitude is brought back by one turn at most, to [-180, 180] for a valid `p`.
    PointGeodetic128* destination(const IPoint& p, double azimuth, double distance) const override;
};

QORVEL_END_NAMESPACE

#endif
