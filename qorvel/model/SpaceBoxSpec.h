#ifndef QORVEL_MODEL_SPACEBOXSPEC_H
#define QORVEL_MODEL_SPACEBOXSPEC_H

#include "qorvel/config.h"

#include <cstdint>
#include <sstream>

QORVEL_BEGIN_NAMESPACE

/// How fine a space box is: its number of geohash bits, five of them a geohash character.
class QORVEL_EXPORT SpaceBoxSpec {
public:
    /// The finest cell, 128 bits.
    SpaceBoxSpec();
    /// Stores the depth; isValid judges it. Not explicit: a depth stands for its spec.
    SpaceBoxSpec(std::uint32_t geoHashBitDepth);
    SpaceBoxSpec(const SpaceBoxSpec&) = default;
    SpaceBoxSpec& operator=(const SpaceBoxSpec&) = default;
    virtual ~SpaceBoxSpec();

    /// False, with "ERROR_SPACEBOXSPEC_1," appended to `errors`, exactly when the depth is above
    /// 128.
    bool isValid(std::stringstream& errors) const;

    /// 0 (the whole earth) to 128.
    std::uint32_t geoHashBitDepth;
};

QORVEL_END_NAMESPACE

#endif
