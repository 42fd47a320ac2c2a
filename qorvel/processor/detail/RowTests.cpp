#include "qorvel/processor/detail/RowTests.h"

#include "qorvel/geohash/UtilG2.h"
#include "qorvel/geohash/detail/boxCell.h"

#include <algorithm>

namespace qorvel_detail {

RowTests::RowTests(const STBAssignmentRow& row)
    : row_(row), reach_(row.latitude, row.longitude, row.radius) {}

bool RowTests::pass(const Event& event, const Position& position, bool inArea) const {
    // No test has an effect of its own, so the dearest comes last.
    return inArea && tolerancesFit(event) && isNear(event, position);
}

bool RowTests::isInArea(const Cell& ownCell) const {
    return std::any_of(row_.spaceBoxes.begin(), row_.spaceBoxes.end(), [&](const SpaceBox& box) {
        const Cell cell = significantCellOf(box);
        return significant(ownCell.first, ownCell.second, cell.depth) == cell;
    });
}

/// A NaN on either side fails.
bool RowTests::tolerancesFit(const Event& event) const {
    return row_.maxSpaceTolerance >= event.spaceTolerance &&
           row_.maxTimeTolerance >= event.timeTolerance;
}

bool RowTests::isNear(const Event& event, const Position& position) const {
    const Reach::Verdict verdict =
        reach_.judge(event.latitude, event.longitude, position.cosLatitude());
    if (verdict != Reach::Verdict::inDoubt) {
        return verdict == Reach::Verdict::inside;
    }
    return UtilG2::nearFilter(event.latitude, event.longitude, row_.latitude, row_.longitude,
                              row_.radius);
}

} // namespace qorvel_detail
