#ifndef QORVEL_PROGRAM_COMMANDS_OLDESTTIMES_H
#define QORVEL_PROGRAM_COMMANDS_OLDESTTIMES_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <unordered_map>
#include <vector>

namespace program {

class FixSource;
struct Fix;
class KeptFixes;
class Progress;

/// How old the rows of an input are from a row to the end, known from a first reading. With it rows
/// may be in any order, and all the same what none to come can need is forgotten.
///
/// Where it is asked for, also how far a row lies behind the newest one of its entity before it: in
/// a file of one entity after the other the rest of the input tells nothing, but each is in order.
/// That takes up some 60 bytes an entity.
class OldestTimes {
public:
    /// Rows share an entry by blocks, so that even 10^9 of them need but a few MB.
    static constexpr std::size_t kBlock = 1024;

    /// Nothing is known: rows may be as old as they like.
    OldestTimes() = default;

    /// Reads the input through and rewinds it, unless all of it is kept. Where it cannot be read
    /// on, it ends: the second reading will say so, after the rows before are processed.
    /// @param entitiesToo  is lateInEntity() wanted?
    /// @param kept         with entitiesToo, for which rows are read whole, takes all of them if
    ///                     they are few enough and not one is bad: then nothing is left that only
    ///                     a second reading would tell
    OldestTimes(FixSource& source, Progress& progress, bool entitiesToo, KeptFixes& kept);

    bool isKnown() const { return isKnown_; }

    /// No row from that number on (from 0, bad rows included) has an earlier time, ms since 1970
    /// UTC.
    std::int64_t from(std::uint64_t row) const;

    /// How far a row lies behind the newest one of its entity before it, at most, ms; none where it
    /// was not asked for.
    std::optional<std::int64_t> lateInEntity() const { return lateInEntity_; }

    /// How many rows there are at most, at some place of the input, than which older ones may still
    /// come: whoever wants them in order has to hold them. Never too few. Where lateInEntity() was
    /// asked for, only older ones of the same entity count.
    std::uint64_t mostWaiting() const { return mostWaiting_; }

private:
    struct Block {
        std::int64_t oldest = std::numeric_limits<std::int64_t>::max(); ///< from here to the end
        std::int64_t newest = 0;                                        ///< of its own rows
    };

    /// The rows of an entity so far.
    struct Way {
        std::int64_t newest = 0;
        std::int64_t hour = 0;        ///< of the newest
        std::uint64_t sinceHour = 0;  ///< rows since the first of that hour, late ones too
        std::uint64_t mostInHour = 0; ///< of sinceHour
    };

    /// By a hash of their names: two that share it make rows later, never earlier.
    using Ways = std::unordered_map<std::size_t, Way>;

    void readTimes(FixSource& source, Progress& progress, KeptFixes& kept, Ways& ways);
    void follow(const Fix& fix, Ways& ways);
    std::uint64_t waitingInInput() const;
    std::uint64_t waitingInEntities(const Ways& ways) const;

    bool isKnown_ = false;
    std::optional<std::int64_t> lateInEntity_;
    std::uint64_t mostWaiting_ = 0;
    std::vector<Block> blocks_;
};

} // namespace program

#endif
