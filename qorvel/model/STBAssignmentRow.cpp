#include "qorvel/model/STBAssignmentRow.h"

#include "qorvel/model/detail/check.h"

#include <algorithm>

QORVEL_BEGIN_NAMESPACE

namespace {

/// Strict comparisons: a bound is inside, and so is a NaN.
bool outside(double value, double low, double high) {
    return value < low || value > high;
}

/// Stops at the first invalid box, so only that one leaves its tags.
bool boxesAreValid(const std::list<SpaceBox>& boxes, std::stringstream& errors) {
    return std::all_of(boxes.begin(), boxes.end(),
                       [&errors](const SpaceBox& box) { return box.isValid(errors); });
}

} // namespace

STBAssignmentRow::STBAssignmentRow()
    : primaryKeyId(0), secondaryKeyId(0), masterId(0), maxSpaceTolerance(0.0), maxTimeTolerance(0),
      latitude(0.0), longitude(0.0), radius(0.0), spaceToleranceFactor(0.0),
      timeToleranceFactor(0.0) {}

STBAssignmentRow::STBAssignmentRow(std::int32_t primaryKey, std::int32_t secondaryKey,
                                   double spaceToleranceLimit, std::uint32_t timeToleranceLimit,
                                   std::int32_t master, const std::list<SpaceBox>& boxes,
                                   double centreLatitude, double centreLongitude, double areaRadius,
                                   double spaceFactor, double timeFactor)
    : primaryKeyId(primaryKey), secondaryKeyId(secondaryKey), spaceBoxes(boxes), masterId(master),
      maxSpaceTolerance(spaceToleranceLimit), maxTimeTolerance(timeToleranceLimit),
      latitude(centreLatitude), longitude(centreLongitude), radius(areaRadius),
      spaceToleranceFactor(spaceFactor), timeToleranceFactor(timeFactor) {}

STBAssignmentRow::~STBAssignmentRow() = default;

bool STBAssignmentRow::isValid(std::stringstream& errors) const {
    bool valid = qorvel_detail::check(!(maxSpaceTolerance < 0.0), "ERROR_ASSIGN_1,", errors);
    valid &=
        qorvel_detail::check(!outside(spaceToleranceFactor, 0.0, 1.0), "ERROR_ASSIGN_2,", errors);
    valid &= qorvel_detail::check(!(radius < 0.0), "ERROR_ASSIGN_3,", errors);
    valid &= qorvel_detail::check(!outside(latitude, -90.0, 90.0), "ERROR_ASSIGN_4,", errors);
    valid &= qorvel_detail::check(!outside(longitude, -180.0, 180.0), "ERROR_ASSIGN_5,", errors);
    valid &= qorvel_detail::check(maxTimeTolerance <= 1, "ERROR_ASSIGN_6,", errors);
    valid &=
        qorvel_detail::check(!outside(timeToleranceFactor, 0.0, 1.0), "ERROR_ASSIGN_7,", errors);
    valid &= boxesAreValid(spaceBoxes, errors);
    return valid;
}

QORVEL_END_NAMESPACE
