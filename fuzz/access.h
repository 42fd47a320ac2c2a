#ifndef QORVEL_FUZZ_ACCESS_H
#define QORVEL_FUZZ_ACCESS_H

#include "qorvel/geohash/UtilG2.h"

QORVEL_BEGIN_NAMESPACE

/// The private functions of UtilG2: exported like the rest of it, so fuzzed like the rest.
struct UtilG2TestAccess {
    static constexpr auto encode = &UtilG2::doubleToI64;
    static constexpr auto decode = &UtilG2::i64ToDouble;
    static constexpr auto interleave = &UtilG2::point64ToSpaceBox;
    static constexpr auto edges = &UtilG2::distance;
    static constexpr auto latDistance = &UtilG2::latDistance;
    static constexpr auto lonDistance = &UtilG2::lonDistance;
    static constexpr auto latBits = &UtilG2::getNumLatitudeBits;
    static constexpr auto lonBits = &UtilG2::getNumLongitudeBits;
    static constexpr auto bits = &UtilG2::getNumBits;
};

QORVEL_END_NAMESPACE

#endif
