#ifndef QORVEL_BENCH_GOALS_H
#define QORVEL_BENCH_GOALS_H

#include "bench/Report.h"

#include <string>

/// The parts of a run of goals. Each prints its tables and gives the report what to judge.
namespace goals {

/// The modes of work, and events by name, against the straightforward way.
void modes(Report& report);

/// What an event costs as rows, items or entities grow. Draws the curves into the SVG file
/// `picture` unless that is empty.
void growth(Report& report, const std::string& picture);

/// Cells, texts and distances against other libraries, those that were found when this was built.
void peers(Report& report);

} // namespace goals

#endif
