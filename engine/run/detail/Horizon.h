#ifndef QORVEL_ENGINE_RUN_DETAIL_HORIZON_H
#define QORVEL_ENGINE_RUN_DETAIL_HORIZON_H

#include "engine/analysis/detail/state.h"

#include <algorithm>
#include <cstdint>
#include <optional>

namespace qorvel_engine::detail {

/// How old the rows still to come can be: what may be forgotten hangs on it.
///
/// An event at time t counts, in a cell's series, only what ended within the look-back before t;
/// anything older it removes itself. So to collect what ended before a time T changes no output if,
/// and only if, no later event lies before T plus the look-back. Late rows make the newest time
/// useless for T: what counts is the oldest time still to come.
///
/// - A caller may know it: the rows may then be in any order (of one entity after the other, newest
///   first), and one clock that is wrong by years does no harm.
/// - Otherwise there is a promise: no row lies more than so much behind the newest one before it. A
///   row that breaks it is processed as it comes, and counted: what it would have continued may be
///   forgotten.
class Horizon {
public:
    /// @param late  ms; none: a day, as long as the caller does not know better
    explicit Horizon(std::optional<std::int64_t> late)
        : late_(late.value_or(kOneDay)), isPromised_(late.has_value()) {}

    /// Takes the time of a row, not negative, in the order of the input; false if it lies before
    /// what oldestToCome() said.
    bool isInTime(std::int64_t time, bool isOldestKnown) {
        const bool inTime = time >= oldest_;
        newest_ = std::max(newest_, time);
        if (isPromised_ || !isOldestKnown) {
            know(newest_ - late_);
        }
        return inTime;
    }

    /// No row to come lies before this time.
    void know(std::int64_t oldest) { oldest_ = std::max(oldest_, oldest); }

    /// No row to come lies before this time, unless it breaks the promise. It never descends.
    std::int64_t oldestToCome() const { return oldest_; }

    void save(StateWriter& out) const {
        out.i64(newest_);
        out.i64(oldest_);
    }
    void load(StateReader& in) {
        newest_ = in.time();
        oldest_ = in.time();
    }

private:
    static constexpr std::int64_t kOneDay = 86400000;

    std::int64_t late_;
    bool isPromised_;
    std::int64_t newest_ = 0;
    std::int64_t oldest_ = 0; ///< no time is negative
};

} // namespace qorvel_engine::detail

#endif
