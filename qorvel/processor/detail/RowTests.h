#ifndef QORVEL_PROCESSOR_DETAIL_ROWTESTS_H
#define QORVEL_PROCESSOR_DETAIL_ROWTESTS_H

#include "qorvel/geohash/detail/Position.h"
#include "qorvel/geohash/detail/Reach.h"
#include "qorvel/model/Event.h"
#include "qorvel/model/STBAssignmentRow.h"

#include <cstdint>

namespace qorvel_detail {

/// The number by which rows and specs take every primary key.
constexpr std::int32_t kAnyPrimaryKey = 0;

inline bool primaryKeyMatches(std::int32_t wanted, const Event& event) {
    return wanted == event.primaryKeyId || wanted == kAnyPrimaryKey;
}

/// An assignment row with the tests by which it takes an event, but for those of the keys: the row
/// index finds no row with others.
class RowTests {
public:
    explicit RowTests(const STBAssignmentRow& row);

    const STBAssignmentRow& row() const { return row_; }

    /// The area test: does one of the row's cells hold the event? A cell compares at its own depth.
    bool isInArea(const Cell& ownCell) const;

    /// All tests. The result of the area test is handed in, since the row index mostly knows it.
    bool pass(const Event& event, const Position& position, bool inArea) const;

private:
    bool tolerancesFit(const Event& event) const;
    bool isNear(const Event& event, const Position& position) const;

    STBAssignmentRow row_;
    Reach reach_;
};

} // namespace qorvel_detail

#endif
