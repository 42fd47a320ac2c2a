#include "qorvel/model/SpaceTimeBoxSpec.h"

QORVEL_BEGIN_NAMESPACE

SpaceTimeBoxSpec::SpaceTimeBoxSpec() = default;

SpaceTimeBoxSpec::SpaceTimeBoxSpec(const SpaceBoxSpec& space, const TimeBoxSpec& time)
    : SpaceBoxSpec(space), TimeBoxSpec(time) {}

SpaceTimeBoxSpec::~SpaceTimeBoxSpec() = default;

bool SpaceTimeBoxSpec::isValid(std::stringstream& errors) const {
    return SpaceBoxSpec::isValid(errors) && TimeBoxSpec::isValid(errors);
}

QORVEL_END_NAMESPACE
