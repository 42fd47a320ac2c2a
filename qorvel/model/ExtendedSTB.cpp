#include "qorvel/model/ExtendedSTB.h"

QORVEL_BEGIN_NAMESPACE

ExtendedSTB::ExtendedSTB() : masterId(0) {}

ExtendedSTB::ExtendedSTB(std::uint32_t master, const SpaceBox& space, const TimeBox& time)
    : SpaceTimeBox(space, time), masterId(master) {}

ExtendedSTB::~ExtendedSTB() = default;

QORVEL_END_NAMESPACE
