#ifndef QORVEL_BENCH_SIDEBYSIDE_H
#define QORVEL_BENCH_SIDEBYSIDE_H

#include "bench/measure.h"
#include "bench/scenarios.h"

#include <cstddef>
#include <string>

/// The library and the straightforward model on the same events.
namespace sides {

/// Feeds the first `events` events to both and compares what each event gives, field by field.
/// Empty when all is the same, else the first difference. A scenario that finds nothing at all does
/// not pass for a fast one: that is a difference too.
std::string firstDifference(const scenarios::Scenario& scenario, std::size_t events);

struct Duel {
    measure::Samples model;     ///< ns per event
    measure::Samples ofLibrary; ///< ns per event
    bool sameCount;             ///< of results, in every repetition
};

/// Measures both over the whole scenario, on fresh processors in each repetition. They take turns
/// within a repetition too, a piece of the stream each, so that both meet the same machine.
Duel duel(const scenarios::Scenario& scenario, std::size_t repetitions);

} // namespace sides

#endif
