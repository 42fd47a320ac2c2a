#ifndef QORVEL_TOOLS_RUN_HORIZON_H
#define QORVEL_TOOLS_RUN_HORIZON_H

#include <cstdint>
#include <memory>
#include <optional>

namespace host {

class FixSource;
class Progress;

/// How old the rows still to come can be: what may be forgotten hangs on it.
///
/// An event at time t counts, in a cell's series, only what ended within the look-back before t;
/// anything older it removes itself. So to collect what ended before a time T changes no output if,
/// and only if, no later event lies before T plus the look-back. Late rows make the newest time
/// useless for T: what counts is the oldest time still to come.
///
/// - An input that can be read twice is read twice: the first time to learn, for each block of
///   rows, the oldest time from there to the end. Its rows may be in any order (of one entity
///   after the other, newest first), and one clock that is wrong by years does no harm.
/// - Any other input, and a file with --late, gets a promise instead: no row lies more than so
///   much behind the newest one before it. A row that breaks it is processed as it comes, and
///   counted: what it would have continued may be forgotten.
class Horizon {
public:
    virtual ~Horizon() = default;

    /// Takes a row by its number (from 0, bad rows included) and time, in the order of the input;
    /// false if it lies before what oldestToCome said. Throws Failure(broken) when the input is
    /// not what it was at the first reading.
    virtual bool isInTime(std::uint64_t row, std::int64_t time) = 0;

    /// No row to come lies before this time, unless it breaks the promise.
    virtual std::int64_t oldestToCome() const = 0;
};

/// Reads a repeatable input through if it has to, and rewinds it.
/// @param late  ms, how far a row may lie behind the newest one before it; none: not said
std::unique_ptr<Horizon> makeHorizon(FixSource& source, std::optional<std::int64_t> late,
                                     Progress& progress);

} // namespace host

#endif
