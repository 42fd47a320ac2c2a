#include "qorvel/model/SpaceTimeBox.h"

QORVEL_BEGIN_NAMESPACE

SpaceTimeBox::SpaceTimeBox() = default;

SpaceTimeBox::SpaceTimeBox(const SpaceBox& space, const TimeBox& time)
    : SpaceBox(space), TimeBox(time) {}

SpaceTimeBox::~SpaceTimeBox() = default;

QORVEL_END_NAMESPACE
