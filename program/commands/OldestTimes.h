#ifndef QORVEL_PROGRAM_COMMANDS_OLDESTTIMES_H
#define QORVEL_PROGRAM_COMMANDS_OLDESTTIMES_H

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

namespace program {

class FixSource;
struct Fix;
class Progress;

/// How old the rows of an input are from a row to the end, known from a first reading. With it rows
/// may be in any order, and all the same what none to come can need is forgotten.
///
/// Where it is asked for, also how far a row lies behind the newest one of its entity before it: in
/// a file of one entity after the other the rest of the input tells nothing, but each is in order.
/// That takes up some 40 bytes an entity.
class OldestTimes {
public:
    /// Nothing is known: rows may be as old as they like.
    OldestTimes() = default;

    /// Reads the input through and rewinds it. Where it cannot be read on, it ends: the second
    /// reading will say so, after the rows before are processed.
    /// @param entitiesToo  is lateInEntity() wanted?
    OldestTimes(FixSource& source, Progress& progress, bool entitiesToo);

    bool isKnown() const { return isKnown_; }

    /// No row from that number on (from 0, bad rows included) has an earlier time, ms since 1970
    /// UTC.
    std::int64_t from(std::uint64_t row) const;

    /// How far a row lies behind the newest one of its entity before it, at most, ms; none where it
    /// was not asked for.
    std::optional<std::int64_t> lateInEntity() const { return lateInEntity_; }

private:
    /// By a hash of their names: two that share it make rows later, never earlier.
    using NewestTimes = std::unordered_map<std::size_t, std::int64_t>;

    void readTimes(FixSource& source, Progress& progress);
    void compare(const Fix& fix, NewestTimes& newest);

    bool isKnown_ = false;
    std::optional<std::int64_t> lateInEntity_;
    std::vector<std::int64_t> oldest_; ///< from the beginning of each block to the end of the input
};

} // namespace program

#endif
