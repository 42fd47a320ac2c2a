#ifndef QORVEL_PROGRAM_COMMANDS_OLDESTTIMES_H
#define QORVEL_PROGRAM_COMMANDS_OLDESTTIMES_H

#include <cstdint>
#include <vector>

namespace program {

class FixSource;
class Progress;

/// How old the rows of an input are from a row to the end, known from a first reading. With it rows
/// may be in any order, and all the same what none to come can need is forgotten.
class OldestTimes {
public:
    /// Nothing is known: rows may be as old as they like.
    OldestTimes() = default;

    /// Reads the input through and rewinds it. Where it cannot be read on, it ends: the second
    /// reading will say so, after the rows before are processed.
    OldestTimes(FixSource& source, Progress& progress);

    bool isKnown() const { return isKnown_; }

    /// No row from that number on (from 0, bad rows included) has an earlier time, ms since 1970
    /// UTC.
    std::int64_t from(std::uint64_t row) const;

private:
    void readTimes(FixSource& source, Progress& progress);

    bool isKnown_ = false;
    std::vector<std::int64_t> oldest_; ///< from the beginning of each block to the end of the input
};

} // namespace program

#endif
