#include "qorvel/processor/detail/rowApplies.h"

#include "qorvel/geohash/UtilG2.h"

#include <algorithm>

QORVEL_BEGIN_NAMESPACE
namespace detail {

namespace {

bool keysMatch(const STBAssignmentRow& row, const Event& event) {
    return primaryKeyMatches(row.primaryKeyId, event) && row.secondaryKeyId == event.secondaryKeyId;
}

/// A NaN on either side fails.
bool tolerancesFit(const STBAssignmentRow& row, const Event& event) {
    return row.maxSpaceTolerance >= event.spaceTolerance &&
           row.maxTimeTolerance >= event.timeTolerance;
}

bool isNear(const STBAssignmentRow& row, const Event& event) {
    return UtilG2::nearFilter(event.latitude, event.longitude, row.latitude, row.longitude,
                              row.radius);
}

} // namespace

bool isInArea(const STBAssignmentRow& row, const SpaceBox& eventBox) {
    return std::any_of(row.spaceBoxes.begin(), row.spaceBoxes.end(), [&](const SpaceBox& box) {
        return eventBox.equals(box, box.getGeoHashBitDepth());
    });
}

bool rowApplies(const STBAssignmentRow& row, const Event& event, bool inArea) {
    // No test has an effect of its own, so the dearest comes last.
    return inArea && keysMatch(row, event) && tolerancesFit(row, event) && isNear(row, event);
}

} // namespace detail
QORVEL_END_NAMESPACE
