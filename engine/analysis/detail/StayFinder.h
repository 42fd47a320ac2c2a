#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_STAYFINDER_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_STAYFINDER_H

#include "engine/analysis/Analysis.h"
#include "engine/analysis/StayOptions.h"
#include "engine/analysis/detail/FixQueue.h"
#include "engine/analysis/detail/Stay.h"
#include "engine/analysis/detail/StayDetector.h"
#include "engine/analysis/detail/state.h"

#include "qorvel/base/FlatTable.h"
#include "qorvel/base/hashing.h"

#include <array>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace qorvel_engine::detail {

/// How late a fix may be in its entity where nothing is promised, ms: an hour, for a device that
/// was without a network for a while.
inline constexpr std::int64_t kLateStays = 3'600'000;

/// The same options. Throws the Fault `badConfiguration` for those that cannot be.
StayOptions checked(const StayOptions& options);

/// Finds the stays of many entities: puts the fixes of each in order and shows them to a detector
/// of its own.
///
/// Memory: fixes that may have to let others go before them, and half a kilobyte to ten kilobytes
/// an entity; nothing of one whose last stay is known to have ended.
class StayFinder {
public:
    /// A stay and the `eid` of whom.
    using FoundStay = std::pair<std::uint64_t, Stay>;

    /// They have been checked.
    explicit StayFinder(const StayOptions& options) : work_(options) {}

    /// A late fix is left out: what comes after it may have been taken already.
    void take(const Observation& observation);

    /// As Shard::fetch.
    void fetch(std::uint64_t later, std::uint64_t sooner) const;

    /// No fix before this time (ms since 1970 UTC) will come.
    void collect(std::int64_t time);

    /// No fix will come any more.
    void finish();

    /// What was found and not cleared since; that of an entity in the order of time.
    std::vector<FoundStay>& found() { return found_; }

    /// For states, with what was found handed over: as those of ShardSnapshot and Shard.
    bool save(std::uint64_t eid, StateWriter& out) const;
    void load(std::uint64_t eid, StateReader& in);
    void forgetEntities(const std::vector<std::uint64_t>& eids);

private:
    /// What is kept of an entity.
    struct Entity {
        FixQueue held;
        StayDetector detector;

        bool isIdle() const { return held.isEmpty() && detector.isIdle(); }
    };

    /// An entity in the table.
    struct Slot {
        using Key = std::uint64_t;

        Key eid = 0;
        std::unique_ptr<Entity> entity; ///< null: a free slot

        bool isUsed() const { return entity != nullptr; }
        Key key() const { return eid; }
        bool holds(Key key) const { return eid == key; }
        void occupy(Key key) {
            entity = std::make_unique<Entity>();
            eid = key;
        }
        static std::uint64_t hash(Key key) { return qorvel_detail::mix(key); }
    };

    /// Who was looked up lately: a row that comes soon, or the same entity again.
    struct Lately {
        std::uint64_t eid = 0;
        Entity* entity = nullptr; ///< null: nobody
    };
    Lately& latelyOf(std::uint64_t eid) const { return lately_[eid % lately_.size()]; }

    Entity* find(std::uint64_t eid) const;
    Entity& findOrAdd(std::uint64_t eid);
    void proceed(Entity& entity, std::int64_t time);
    void gather(std::uint64_t eid);

    StayDetector::Work work_;
    qorvel_detail::FlatTable<Slot> entities_;
    mutable std::array<Lately, 64> lately_; ///< none of them while entities may go
    std::vector<FoundStay> found_;
};

} // namespace qorvel_engine::detail

#endif
