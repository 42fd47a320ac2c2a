#include "qorvel/processor/detail/RowTests.h"

#include "qorvel/geohash/UtilG2.h"
#include "qorvel/geohash/detail/boxCell.h"

#include <algorithm>

namespace qorvel_detail {

namespace {

// A NaN on either side fails.
bool spaceToleranceFits(const STBAssignmentRow& row, const Event& event) {
    return row.maxSpaceTolerance >= event.spaceTolerance;
}

bool timeToleranceFits(const STBAssignmentRow& row, const Event& event) {
    return row.maxTimeTolerance >= event.timeTolerance;
}

} // namespace

RowTests::RowTests(const STBAssignmentRow& row)
    : row_(row), reach_(row.latitude, row.longitude, row.radius) {}

bool RowTests::passWithKeys(const Event& event, const Position& position, bool inArea) const {
    // No test has an effect of its own, so the dearest comes last.
    return inArea && spaceToleranceFits(row_, event) && timeToleranceFits(row_, event) &&
           isNear(event, position);
}

bool RowTests::passes(RowTest test, const Event& event, const Position& position) const {
    switch (test) {
    case RowTest::primaryKey:
        return primaryKeyMatches(row_.primaryKeyId, event);
    case RowTest::secondaryKey:
        return row_.secondaryKeyId == event.secondaryKeyId;
    case RowTest::spaceTolerance:
        return spaceToleranceFits(row_, event);
    case RowTest::timeTolerance:
        return timeToleranceFits(row_, event);
    case RowTest::distance:
        return isNear(event, position);
    default:
        return isInArea(position.ownCell());
    }
}

bool RowTests::isInArea(const Cell& ownCell) const {
    return std::any_of(row_.spaceBoxes.begin(), row_.spaceBoxes.end(), [&](const SpaceBox& box) {
        const Cell cell = significantCellOf(box);
        return significant(ownCell.first, ownCell.second, cell.depth) == cell;
    });
}

bool RowTests::isNear(const Event& event, const Position& position) const {
    const Reach::Verdict verdict = reach_.judge(position.parallel(), event.longitude);
    if (verdict != Reach::Verdict::inDoubt) {
        return verdict == Reach::Verdict::inside;
    }
    return UtilG2::nearFilter(event.latitude, event.longitude, row_.latitude, row_.longitude,
                              row_.radius);
}

} // namespace qorvel_detail
