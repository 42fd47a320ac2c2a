#include "qorvel/geodesy/Ellipsoid.h"

#include <cmath>

QORVEL_BEGIN_NAMESPACE

Ellipsoid::Ellipsoid(double axis, double otherAxis)
    : semiMajorAxis(axis < otherAxis ? otherAxis : axis),
      semiMinorAxis(axis < otherAxis ? axis : otherAxis),
      meanRadius((semiMajorAxis + semiMinorAxis) / 2), sphereRadius(semiMajorAxis),
      flattening((semiMajorAxis - semiMinorAxis) / semiMajorAxis),
      eccentricity(std::sqrt(semiMajorAxis * semiMajorAxis - semiMinorAxis * semiMinorAxis) /
                   semiMajorAxis),
      linearEccentricity(std::sqrt(semiMajorAxis * semiMajorAxis - semiMinorAxis * semiMinorAxis)) {
}

QORVEL_END_NAMESPACE
