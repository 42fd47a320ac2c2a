#ifndef QORVEL_MODEL_SPACETIMEBOXSPEC_H
#define QORVEL_MODEL_SPACETIMEBOXSPEC_H

#include "qorvel/model/SpaceBoxSpec.h"
#include "qorvel/model/TimeBoxSpec.h"

QORVEL_BEGIN_NAMESPACE

/// The resolution of space-time boxes: a cell depth and a time-box length.
class QORVEL_EXPORT SpaceTimeBoxSpec : public SpaceBoxSpec, public TimeBoxSpec {
public:
    /// Depth 128, one time box for all time.
    SpaceTimeBoxSpec();
    /// Copies both parts.
    SpaceTimeBoxSpec(const SpaceBoxSpec& space, const TimeBoxSpec& time);
    SpaceTimeBoxSpec(const SpaceTimeBoxSpec&) = default;
    SpaceTimeBoxSpec& operator=(const SpaceTimeBoxSpec&) = default;
    ~SpaceTimeBoxSpec() override;

    /// Checks the space part and, only if that holds, the time part: at most one tag is appended.
    bool isValid(std::stringstream& errors) const;
};

QORVEL_END_NAMESPACE

#endif
