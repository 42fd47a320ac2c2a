#ifndef QORVEL_GEODESY_ELLIPSOID_H
#define QORVEL_GEODESY_ELLIPSOID_H

#include "qorvel/config.h"

QORVEL_BEGIN_NAMESPACE

/// An ellipsoid of revolution as a model of the earth, lengths in metres.
class QORVEL_EXPORT Ellipsoid {
public:
    /// The two axis lengths in metres, in either order: the longer one becomes the semi-major axis.
    /// Positive lengths are expected; others are computed with as they stand.
    Ellipsoid(double axis, double otherAxis);

    /// a, the equatorial radius.
    double semiMajorAxis;

    /// b, the polar radius.
    double semiMinorAxis;

    /// (a + b) / 2.
    double meanRadius;

    /// The radius of the sphere that stands for this ellipsoid in spherical formulas. It is the
    /// semi-major axis, not the mean radius, on purpose.
    double sphereRadius;

    /// (a - b) / a, without unit.
    double flattening;

    /// The first eccentricity, sqrt(a^2 - b^2) / a, without unit.
    double eccentricity;

    /// sqrt(a^2 - b^2).
    double linearEccentricity;
};

QORVEL_END_NAMESPACE

#endif
