#ifndef QORVEL_PROCESSOR_DETAIL_ROWTESTS_H
#define QORVEL_PROCESSOR_DETAIL_ROWTESTS_H

#include "qorvel/geohash/detail/Position.h"
#include "qorvel/geohash/detail/Reach.h"
#include "qorvel/model/Event.h"
#include "qorvel/model/STBAssignmentRow.h"
#include "qorvel/processor/detail/FigureProcessor.h"

#include <cstdint>

namespace qorvel_detail {

using qorvel_port::RowTest;

/// The number by which rows and specs take every primary key.
constexpr std::int32_t kAnyPrimaryKey = 0;

inline bool primaryKeyMatches(std::int32_t wanted, const Event& event) {
    return wanted == event.primaryKeyId || wanted == kAnyPrimaryKey;
}

/// An assignment row with the tests by which it takes an event.
class RowTests {
public:
    explicit RowTests(const STBAssignmentRow& row);

    const STBAssignmentRow& row() const { return row_; }

    /// The area test: does one of the row's cells hold the event? A cell compares at its own depth.
    bool isInArea(const Cell& ownCell) const;

    /// All tests but those of the keys: the row index finds no row with others. The result of the
    /// area test is handed in, since the row index mostly knows it.
    bool passWithKeys(const Event& event, const Position& position, bool inArea) const;

    /// One test, whatever the others say.
    bool passes(RowTest test, const Event& event, const Position& position) const;

private:
    bool isNear(const Event& event, const Position& position) const;

    STBAssignmentRow row_;
    Reach reach_;
};

} // namespace qorvel_detail

#endif
