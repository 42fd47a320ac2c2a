#ifndef QORVEL_GEODESY_POINTGEODETIC64_H
#define QORVEL_GEODESY_POINTGEODETIC64_H

#include "qorvel/config.h"
#include "qorvel/geodesy/AbstractPointGeodetic.h"

#include <cstdint>

QORVEL_BEGIN_NAMESPACE

/// A point that stores 64 bits and decodes them at every read.
///
/// From the top bit on the code alternates longitude, latitude: 32 bits of each halve the range
/// [-180, 180] or [-90, 90] again and again. A point decodes to the south-western corner of its
/// cell, so 90 and 180 are never reached.
class QORVEL_EXPORT PointGeodetic64 : public AbstractPointGeodetic {
public:
    /// Every code is a valid point; 0 is (-90, -180).
    explicit PointGeodetic64(std::uint64_t code);
    PointGeodetic64(const PointGeodetic64&) = default;
    PointGeodetic64& operator=(const PointGeodetic64&) = default;
    ~PointGeodetic64() override;

    /// Degrees, decoded.
    double getLatitude() const override;

    /// Degrees, decoded.
    double getLongitude() const override;

    /// Keeps the code; nothing is decoded.
    PointGeodetic64* clone() const override;

private:
    std::uint64_t code_;
};

QORVEL_END_NAMESPACE

#endif
