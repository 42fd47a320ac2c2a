#ifndef QORVEL_MODEL_SPACETIMEBOX_H
#define QORVEL_MODEL_SPACETIMEBOX_H

#include "qorvel/geohash/SpaceBox.h"
#include "qorvel/model/TimeBox.h"

QORVEL_BEGIN_NAMESPACE

/// A geohash cell during a time box.
class QORVEL_EXPORT SpaceTimeBox : public SpaceBox, public TimeBox {
public:
    /// The whole earth, for all time.
    SpaceTimeBox();
    /// Copies both parts.
    SpaceTimeBox(const SpaceBox& space, const TimeBox& time);
    SpaceTimeBox(const SpaceTimeBox&) = default;
    SpaceTimeBox& operator=(const SpaceTimeBox&) = default;
    ~SpaceTimeBox() override;

    /// Equal cells (same depth, same significant bits) and equal time boxes.
    bool operator==(const SpaceTimeBox& other) const {
        return SpaceBox::operator==(other) && TimeBox::operator==(other);
    }
};

QORVEL_END_NAMESPACE

#endif
