#ifndef QORVEL_MODEL_HASH_SPACETIMEBOX_H
#define QORVEL_MODEL_HASH_SPACETIMEBOX_H

#include "qorvel/model/SpaceTimeBox.h"

#include <cstdint>

QORVEL_BEGIN_NAMESPACE

/// Hash functor for sets of SpaceTimeBox and, through the base, ExtendedSTB.
struct QORVEL_EXPORT hash_SpaceTimeBox {
    /// The cell's hashCode exclusive-or the time box's hash: the low half of the start above the
    /// low half of the end. The other halves are lost: times that occur together mostly differ in
    /// the low ones. Equal boxes hash equally.
    std::uint64_t operator()(const SpaceTimeBox& box) const;
};

QORVEL_END_NAMESPACE

#endif
