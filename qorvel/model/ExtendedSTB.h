#ifndef QORVEL_MODEL_EXTENDEDSTB_H
#define QORVEL_MODEL_EXTENDEDSTB_H

#include "qorvel/model/SpaceTimeBox.h"

#include <cstdint>

QORVEL_BEGIN_NAMESPACE

/// A space-time box that remembers which master row produced it. Equality is that of
/// SpaceTimeBox: two boxes that differ in masterId alone are one element of a set, so that an event
/// gives each box once, with the first master row that leads to it.
class QORVEL_EXPORT ExtendedSTB : public SpaceTimeBox {
public:
    /// The whole earth for all time, master 0.
    ExtendedSTB();
    /// Stores the three parts.
    ExtendedSTB(std::uint32_t masterId, const SpaceBox& space, const TimeBox& time);
    ExtendedSTB(const ExtendedSTB&) = default;
    ExtendedSTB& operator=(const ExtendedSTB&) = default;
    ~ExtendedSTB() override;

    /// Number of the master row (MasterName) whose resolution the box has.
    std::uint32_t masterId;
};

QORVEL_END_NAMESPACE

#endif
