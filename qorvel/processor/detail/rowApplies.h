#ifndef QORVEL_PROCESSOR_DETAIL_ROWAPPLIES_H
#define QORVEL_PROCESSOR_DETAIL_ROWAPPLIES_H

#include "qorvel/geohash/SpaceBox.h"
#include "qorvel/model/Event.h"
#include "qorvel/model/STBAssignmentRow.h"

#include <cstdint>

QORVEL_BEGIN_NAMESPACE
namespace detail {

/// The number by which rows and specs take every primary key.
constexpr std::int32_t kAnyPrimaryKey = 0;

inline bool primaryKeyMatches(std::int32_t wanted, const Event& event) {
    return wanted == event.primaryKeyId || wanted == kAnyPrimaryKey;
}

/// Whether one of the row's cells holds the event. `eventBox` is the event's own cell with all its
/// bits; a row's cell compares at its own depth, so the event box's depth plays no part.
bool isInArea(const STBAssignmentRow& row, const SpaceBox& eventBox);

/// The six tests by which an assignment row takes an event. The result of the area test is handed
/// in, since the row index mostly knows it.
bool rowApplies(const STBAssignmentRow& row, const Event& event, bool inArea);

} // namespace detail
QORVEL_END_NAMESPACE

#endif
