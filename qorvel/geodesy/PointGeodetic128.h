#ifndef QORVEL_GEODESY_POINTGEODETIC128_H
#define QORVEL_GEODESY_POINTGEODETIC128_H

#include "qorvel/config.h"
#include "qorvel/geodesy/AbstractPointGeodetic.h"

QORVEL_BEGIN_NAMESPACE

/// A point that stores its coordinates as two doubles.
class QORVEL_EXPORT PointGeodetic128 : public AbstractPointGeodetic {
public:
    /// Degrees, latitude first. Any value is stored as it is; see isValid.
    PointGeodetic128(double latitude, double longitude);
    PointGeodetic128(const PointGeodetic128&) = default;
    PointGeodetic128& operator=(const PointGeodetic128&) = default;
    ~PointGeodetic128() override;

    double getLatitude() const override;
    double getLongitude() const override;
    PointGeodetic128* clone() const override;

private:
    double latitude_;
    double longitude_;
};

QORVEL_END_NAMESPACE

#endif
