#ifndef QORVEL_TOOLS_SETUP_PROBE_H
#define QORVEL_TOOLS_SETUP_PROBE_H

#include "qorvel/qorvel.h"

namespace host {

// What the library itself makes of single rows: it is asked with tables made for the question, so
// that its rules stand nowhere but in it.

/// The tests by which an assignment row takes an event.
enum class RowTest { primaryKey, secondaryKey, spaceTolerance, timeTolerance, distance, area };

inline constexpr RowTest kRowTests[] = {RowTest::primaryKey,     RowTest::secondaryKey,
                                        RowTest::spaceTolerance, RowTest::timeTolerance,
                                        RowTest::distance,       RowTest::area};

/// Does the event pass that test of the row, whatever the others say?
bool passes(RowTest test, const STBAssignmentRow& row, const Event& event);

/// Does it pass all?
bool takes(const STBAssignmentRow& row, const Event& event);

/// Does the row take the event and lead it to the spec's detector?
bool reaches(const STBAssignmentRow& row, const STBCompressionSpec& spec, const Event& event);

/// The same, whatever the event's place and tolerances.
bool reachesByKeys(const STBAssignmentRow& row, const STBCompressionSpec& spec, const Event& event);

/// Is there an event that reaches the spec by the row, as far as keys and master tell?
bool canReach(const STBAssignmentRow& row, const STBCompressionSpec& spec);

} // namespace host

#endif
