#ifndef QORVEL_TOOLS_HORIZON_H
#define QORVEL_TOOLS_HORIZON_H

#include "tools/Options.h"

#include <cstdint>
#include <memory>

namespace host {

class Input;

/// How old the rows still to come can be: what the library may forget hangs on it.
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
///   much behind the newest one before it. A row that breaks it is rejected, whether or not
///   anything has been collected, so that output never depends on when that happens.
class Horizon {
public:
    virtual ~Horizon() = default;

    /// Takes a row by its number (from 0, bad rows included) and time, in the order of the input;
    /// false if it is too late to be processed. Throws Failure(broken) when the input is not what
    /// it was at the first reading.
    virtual bool admits(std::uint64_t row, std::int64_t time) = 0;

    /// No row that will be admitted lies before this time.
    virtual std::int64_t oldestToCome() const = 0;
};

/// Reads a repeatable input through if it has to, and rewinds it.
std::unique_ptr<Horizon> makeHorizon(Input& input, const Options& options);

} // namespace host

#endif
