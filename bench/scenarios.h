#ifndef QORVEL_BENCH_SCENARIOS_H
#define QORVEL_BENCH_SCENARIOS_H

#include "qorvel/model/Event.h"
#include "qorvel/model/STBAssignmentRow.h"
#include "qorvel/model/STBCompressionSpec.h"
#include "qorvel/model/STBMasterRow.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <string>
#include <vector>

/// The workloads that the library's speed is measured by. The same call gives the same records and
/// events, but for the events' sequence numbers.
namespace scenarios {

enum class Mode { boxes, presence, hangouts };

struct Scenario {
    std::string name;
    Mode mode = Mode::boxes;
    std::list<STBMasterRow> masterRows;
    std::list<STBAssignmentRow> assignmentRows;
    std::list<STBCompressionSpec> specs;
    std::vector<Event> events;
    std::size_t checkedEvents = 0; ///< enough from the first on to find something of every sort
    std::int64_t gcInterval = 0;   ///< between calls of gc, ms; 0 means none
    std::int64_t gcAge = 0;        ///< what is older than this goes, ms
};

/// Boxes: `side` x `side` rows, each with a cell of 5 characters near 48 N 11 E of its own; 100
/// entities in turn walk over all of them.
Scenario boxesByRows(std::uint32_t side, std::size_t events);

/// Presence or hangouts of 1,000 entities that report once a minute for `hours`.
Scenario townByMinutes(Mode mode, std::int64_t hours);

/// Presence or hangouts of one entity that reports once a second for `hours` and hardly moves, so
/// that its cell holds an hour's items.
Scenario standStillBySeconds(Mode mode, std::int64_t hours);

/// The same entity with `items` items in its cell at a time, in order of time: the window of
/// presence, the time box of hangouts. `items` is a multiple of 60 and less than a day's seconds;
/// the first `items` events fill the cell.
Scenario fullCell(Mode mode, std::uint32_t items, std::size_t events);

/// Presence or hangouts of `entities` entities, each in the middle of a cell of its own, where
/// their tolerance reaches no other. The events are one report of each; repeatLater makes them the
/// next reports. With one every twelve minutes or more often, all that there is to find is found
/// within the first hour, and nothing more until the month ends.
Scenario residents(Mode mode, std::size_t entities);

/// Moves all events by `millis`.
void repeatLater(Scenario& scenario, std::int64_t millis);

} // namespace scenarios

#endif
