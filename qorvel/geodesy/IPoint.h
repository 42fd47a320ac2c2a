#ifndef QORVEL_GEODESY_IPOINT_H
#define QORVEL_GEODESY_IPOINT_H

#include "qorvel/config.h"
#include "qorvel/geodesy/IGeometry.h"

QORVEL_BEGIN_NAMESPACE

/// A position on the earth.
class QORVEL_EXPORT IPoint : public virtual IGeometry {
public:
    ~IPoint() override;

    /// Degrees, north positive; -90 to 90 in a valid point.
    virtual double getLatitude() const = 0;

    /// Degrees, east positive; -180 to 180 in a valid point.
    virtual double getLongitude() const = 0;

protected:
    IPoint() = default;
    IPoint(const IPoint&) = default;
    IPoint& operator=(const IPoint&) = default;
};

QORVEL_END_NAMESPACE

#endif
