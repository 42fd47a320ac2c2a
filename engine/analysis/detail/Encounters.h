#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_ENCOUNTERS_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_ENCOUNTERS_H

#include "engine/analysis/EncounterOptions.h"
#include "engine/analysis/SeenFix.h"
#include "engine/analysis/detail/MomentFinder.h"
#include "engine/analysis/detail/NameOrder.h"
#include "engine/analysis/detail/Pair.h"
#include "engine/analysis/detail/state.h"

#include "qorvel/base/FlatTable.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <utility>
#include <vector>

namespace qorvel_engine::detail {

/// Two entities that were together for some time.
struct Encounter {
    std::uint64_t a;        ///< the one whose name comes first
    std::uint64_t b;        ///< the other
    std::int64_t from;      ///< the first moment, ms
    std::int64_t to;        ///< the last moment, ms
    double squaredDistance; ///< the least, square metres
    double latitude;        ///< of the fix at which it was least, the first one, degrees
    double longitude;       ///< the same
    std::int64_t fixes;     ///< the moments
};

/// Moments of a pair at most `apart` apart, joined.
///
/// Fixes are kept by slots of time until no fix to come can lie within `apart` of the slot; then it
/// is looked through at once. So what is found does not depend on the order of the input, or on
/// when it is looked for; and of what is past, only encounters under way take memory.
class Encounters {
public:
    using Sink = std::function<void(const Encounter&)>;

    explicit Encounters(const EncounterOptions& options);

    /// As Analysis::watch.
    void watch(const std::atomic<bool>& cancelled) { finder_.watch(cancelled); }

    /// As Analysis::useThreads.
    void useThreads(unsigned threads) { finder_.useThreads(threads); }

    /// Takes a fix; one that comes after its slot was looked through is counted and left out.
    void add(const SeenFix& fix);

    /// No fix to come is older than this time, ms. Gives the sink what has ended: slot by slot, in
    /// each by the first moment and by names.
    void advance(std::int64_t oldestToCome, const NameOrder& isBefore, const Sink& sink);

    /// No fix is to come.
    void finish(const NameOrder& isBefore, const Sink& sink);

    /// Fixes that came too late.
    std::uint64_t lateFixes() const { return lateFixes_; }

    void save(StateWriter& out) const;
    /// Into one that has taken no fix.
    /// @param entities  all numbers are below it
    void load(StateReader& in, std::uint64_t entities);

    /// Takes the other's place; it is of the same options.
    void takeState(Encounters& other) noexcept;

private:
    struct Slot {
        std::vector<SeenFix> fixes;
        std::size_t sorted = 0; ///< the first ones, which have been asked for

        void add(const SeenFix& fix) { fixes.push_back(fix); }
        void sort();
    };
    using Slots = std::map<std::int64_t, Slot>;

    void lookThroughBefore(std::int64_t end, const NameOrder& isBefore, const Sink& sink);
    void lookThrough(Slots::iterator slot);
    std::vector<SeenFix> fixesAround(Slots::iterator slot);
    void join(std::int64_t from, std::int64_t to);
    void join(const Moment& moment, Encounter& encounter);
    std::int64_t lastSlotOf(const Encounter& encounter) const;
    void close(std::int64_t slot);
    void handOver(const NameOrder& isBefore, const Sink& sink);

    const EncounterOptions options_;
    const std::int64_t slotLength_; ///< ms
    MomentFinder finder_;
    std::vector<Moment> moments_;
    Slots slots_;               ///< by their number
    std::int64_t nextSlot_ = 0; ///< those before have been looked through
    qorvel_detail::FlatTable<PairSlot<Encounter>> underWay_; ///< the smaller number first
    std::vector<Encounter> ended_;
    std::uint64_t lateFixes_ = 0;
};

} // namespace qorvel_engine::detail

#endif
