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

/// The six tests by which an assignment row takes an event. `eventBox` is the event's own cell with
/// all its bits; a row's cell compares at its own depth, so the event box's depth plays no part.
bool rowApplies(const STBAssignmentRow& row, const Event& event, const SpaceBox& eventBox);

} // namespace detail
QORVEL_END_NAMESPACE

#endif
