#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_STAYDETECTOR_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_STAYDETECTOR_H

#include "engine/analysis/StayOptions.h"
#include "engine/analysis/detail/FixSum.h"
#include "engine/analysis/detail/Stay.h"
#include "engine/analysis/detail/StayFix.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qorvel_engine::detail {

/// Finds the stays of one entity in its fixes, which come in the order of time.
///
/// - Fixes close together in time and place become one bead.
/// - Beads about a centre, their weighted mean, are a candidate. A bead within the radius of the
///   centre joins it.
/// - One that is farther, but by less than twice its accuracy, may as well be within: it says
///   nothing.
/// - Farther ones wait, with those that say nothing. When one joins again they were strays and are
///   forgotten. When they go on for too long, the candidate has ended: it is a stay if it is long
///   enough, and what waited is taken again, as what comes after it.
/// - At its end a candidate is cut back on both sides to the beads near its centre: on the way to a
///   place and from it one is within the radius for a while. It began halfway between the bead
///   before the first of these, whatever that was, and this one, and ended likewise: where the
///   silence between two places hides the way, half of it is told of each.
///
/// So stays never overlap; two may share a moment. What comes out hangs on the fixes alone, not on
/// calls of advance(). A fix costs the same however many there were, and so does what is kept: the
/// middle of a long candidate is one sum, and only so many beads wait.
class StayDetector {
public:
    struct Bead {
        std::int64_t first = 0; ///< ms
        std::int64_t last = 0;  ///< ms
        double accuracy = 0.0;  ///< of its best fix, metres
        FixSum fixes;
        std::uint64_t number = 0; ///< of its first fix, among those of the detector; with labels

        void save(StateWriter& out) const;
        void load(StateReader& in);
    };

    /// What detectors of one thread share.
    struct Work {
        explicit Work(const StayOptions& options);

        StayOptions options;
        std::int64_t grain;      ///< how long a bead may be, ms
        std::vector<Stay> stays; ///< found ones are appended
        std::vector<Bead> again; ///< kept for its memory
    };

    void take(const StayFix& fix, Work& work);

    /// No fix before this time will come: what is final by that alone is found.
    void advance(std::int64_t time, Work& work) {
        const bool isOpen = open_.fixes.count() > 0;
        if (isOpen ? time - open_.first > work.grain : isEndedBy(time, work.options)) {
            settle(time, work);
        }
    }

    /// No fix will come any more: the rest is found, and it is idle.
    void finish(Work& work);

    /// Is it as if no fix had been taken?
    bool isIdle() const { return open_.fixes.count() == 0 && beads_.empty(); }

    /// Fetches ahead from memory where the next bead will be put; it has been fetched itself.
    void fetchBeads() const {
        const Bead* const next = beads_.data() + beads_.size();
        __builtin_prefetch(next, 1);
        __builtin_prefetch(reinterpret_cast<const char*>(next) + 64, 1);
    }

    /// @param withRows  as labels want them
    void save(bool withRows, StateWriter& out) const;
    /// Into an idle one.
    void load(bool withRows, StateReader& in);

private:
    bool isEndedBy(std::int64_t time, const StayOptions& options) const {
        return !beads_.empty() && time - last_ > endingSilence(options);
    }
    void settle(std::int64_t time, Work& work);
    void settleOpen(std::int64_t knownFrom, Work& work);
    void endSilent(std::int64_t time, Work& work);
    void end(std::int64_t knownFrom, Work& work);
    void close(std::int64_t knownFrom, Work& work);
    void tell(std::int64_t after, std::int64_t knownFrom, Work& work) const;
    bool endsWith(const Bead& bead, const StayOptions& options);
    void start(const Bead& bead, const StayOptions& options);
    void join(const Bead& bead, const StayOptions& options);
    void moveToMiddle();
    bool wait(const Bead& bead);
    void cutFront(const StayOptions& options);
    std::int64_t cutBack(const StayOptions& options);
    const Bead& firstBead() const;
    std::uint64_t keepRow(std::uint64_t row);
    void forgetRows();
    void saveRows(StateWriter& out) const;
    void loadRows(StateReader& in);
    void appendRows(const Bead& bead, std::vector<std::uint64_t>& to) const;
    /// Who was elsewhere before a silence was not at the place both before and after.
    std::int64_t endingSilence(const StayOptions& options) const {
        return away_ > 0 ? options.maxGap : options.maxBridge;
    }

    static constexpr std::int64_t kNone = -1; // no time is negative

    Bead open_; ///< fixes may still join it; it may have none yet

    std::vector<Bead> beads_; ///< of the candidate: all of them, or the last ones
    std::int64_t last_ = 0;   ///< of the last bead, whether or not it joined
    bool isResting_ = false;  ///< since a long silence, did none join?
    FixSum all_;              ///< of the candidate, as weighed for the centre

    std::vector<Bead> waiting_;
    std::size_t away_ = 0;       ///< how many of them are elsewhere beyond doubt
    std::int64_t awayFirst_ = 0; ///< of the first of these

    std::int64_t before_ = kNone; ///< the time of the last bead before the candidate's first
    Bead middle_;                 ///< those of the candidate that came before beads_

    // With labels only.
    std::vector<std::uint64_t> rows_;       ///< of the fixes from that number on
    std::uint64_t firstNumber_ = 0;         ///< it
    std::vector<std::uint64_t> middleRows_; ///< of the middle
};

} // namespace qorvel_engine::detail

#endif
