#ifndef QORVEL_GEODESY_ABSTRACTPOINTGEODETIC_H
#define QORVEL_GEODESY_ABSTRACTPOINTGEODETIC_H

#include "qorvel/config.h"
#include "qorvel/geodesy/AbstractGeometry.h"
#include "qorvel/geodesy/IPoint.h"

#include <string>

QORVEL_BEGIN_NAMESPACE

/// Everything a point does, in terms of its two coordinates.
class QORVEL_EXPORT AbstractPointGeodetic : public virtual IPoint, public virtual AbstractGeometry {
public:
    ~AbstractPointGeodetic() override;

    /// True when `other` is a point with exactly the same coordinates, whatever its class; there is
    /// no tolerance, 180 and -180 are different longitudes, and NaN or an infinity matches nothing.
    /// Throws STException "Unsupported contain on geometries of type A and B" when `other` is not
    /// a point.
    bool contains(const IGeometry& other) const override;

    /// A box with both corners at this point. The caller owns it.
    BoundingBox* getBoundingBox() const override;

    /// " : lat=<latitude> , long=<longitude>" and a line feed: degrees with 15 significant digits
    /// and a decimal point, whatever the host's locale.
    std::string toString() const override;

    /// Latitude in [-90, 90] and longitude in [-180, 180]. NaN is in neither.
    bool isValid() const override;

    AbstractPointGeodetic* clone() const override = 0;

protected:
    AbstractPointGeodetic() = default;
    AbstractPointGeodetic(const AbstractPointGeodetic&) = default;
    AbstractPointGeodetic& operator=(const AbstractPointGeodetic&) = default;
};

QORVEL_END_NAMESPACE

#endif
