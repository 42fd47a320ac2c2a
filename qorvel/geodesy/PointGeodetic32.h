#ifndef QORVEL_GEODESY_POINTGEODETIC32_H
#define QORVEL_GEODESY_POINTGEODETIC32_H

#include "qorvel/config.h"
#include "qorvel/geodesy/AbstractPointGeodetic.h"

#include <cstdint>

QORVEL_BEGIN_NAMESPACE

/// A point that stores 32 bits and decodes them at every read.
///
/// From the top bit on the code alternates longitude, latitude: 16 bits of each halve the range
/// [-180, 180] or [-90, 90] again and again. A point decodes to the south-western corner of its
/// cell, so 90 and 180 are never reached.
class QORVEL_EXPORT PointGeodetic32 : public AbstractPointGeodetic {
public:
    /// Every code is a valid point; 0 is (-90, -180).
    explicit PointGeodetic32(std::uint32_t code);
    PointGeodetic32(const PointGeodetic32&) = default;
    PointGeodetic32& operator=(const PointGeodetic32&) = default;
    ~PointGeodetic32() override;

    /// Degrees, decoded.
    double getLatitude() const override;

    /// Degrees, decoded.
    double getLongitude() const override;

    /// Keeps the code; nothing is decoded.
    PointGeodetic32* clone() const override;

private:
    std::uint32_t code_;
};

QORVEL_END_NAMESPACE

#endif
