#ifndef QORVEL_HANGOUT_DETAIL_DETECTORSTATE_H
#define QORVEL_HANGOUT_DETAIL_DETECTORSTATE_H

#include "qorvel/base/StateReader.h"
#include "qorvel/base/StateWriter.h"
#include "qorvel/base/hashing.h"
#include "qorvel/facade/StbSimpleMutex.h"
#include "qorvel/geohash/detail/Position.h"
#include "qorvel/hangout/detail/CellTable.h"
#include "qorvel/hangout/detail/RecordSink.h"
#include "qorvel/model/Event.h"
#include "qorvel/model/STBCompressionSpec.h"
#include "qorvel/model/SpaceTimeBoxSpec.h"
#include "qorvel/model/detail/TimeBoxMemo.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace qorvel_detail {

/// What a row and a spec ask of a detector.
struct DetectionRule {
    double timeToleranceFactor;
    double spaceToleranceFactor;
    const STBCompressionSpec& spec;
    const SpaceTimeBoxSpec& stbSpec;
    /// Whatever lies near a cell is a record, before it is enough for the spec: who asks why
    /// nothing was found wants to see how far it has come.
    bool takesAll = false;
};

/// What a slot of a table by entity has in common with the others.
struct EntityKeyed {
    using Key = std::uint64_t;

    std::uint64_t eid = 0;

    std::uint64_t key() const { return eid; }
    bool holds(std::uint64_t other) const { return eid == other; }
    static std::uint64_t hash(std::uint64_t eid) { return mix(eid); }
};

/// The series of one entity. It never lies in two lines of the caches.
struct alignas(32) EntitySlot : EntityKeyed {
    bool used = false;
    CellTable cells;

    bool isUsed() const { return used; }
    void occupy(std::uint64_t newEid) {
        eid = newEid;
        used = true;
    }
};
static_assert(sizeof(EntitySlot) <= 32);

/// What is needed of the event by which processDwell knows whether an entity stayed. One is kept
/// for every entity ever seen, so the slot has no room for a flag: a free one has a latitude that
/// is a special NaN. NaNs are stored alike, since what they are made of matters to nobody.
class LastEventSlot : public EntityKeyed {
public:
    bool isUsed() const { return std::bit_cast<std::uint64_t>(latitude_) != kFree; }
    void occupy(std::uint64_t newEid) {
        eid = newEid;
        latitude_ = 0.0;
    }

    double latitude() const { return latitude_; }
    double longitude() const { return longitude_; }
    void place(double latitude, double longitude) {
        latitude_ = std::isnan(latitude) ? std::numeric_limits<double>::quiet_NaN() : latitude;
        longitude_ = longitude;
    }

private:
    static constexpr std::uint64_t kFree = 0x7FF8000000000F4EU;

    double latitude_ = std::bit_cast<double>(kFree);
    double longitude_ = 0.0;
};
static_assert(sizeof(LastEventSlot) == 24);

/// The inside of a HangoutDetector: entity, cell, series. A copy has tables of its own and shares
/// the lock.
///
/// Every operation runs under the lock, which an exception leaves held (see underLock).
class DetectorState {
public:
    DetectorState();

    void gc(std::int64_t time);
    bool processPresence(const Event& event, const Position& position, const DetectionRule& rule,
                         RecordSink& sink);
    bool processDwell(const Event& event, const Position& position, const DetectionRule& rule,
                      RecordSink& sink);

    /// The same without the lock, for who shares the detector with nobody.
    bool processPresenceUnlocked(const Event& event, const Position& position,
                                 const DetectionRule& rule, RecordSink& sink);
    bool processDwellUnlocked(const Event& event, const Position& position,
                              const DetectionRule& rule, RecordSink& sink);

    /// Events of these entities come soon, of the second one first: starts to fetch what they need.
    /// Without the lock, too.
    void fetch(std::uint64_t later, std::uint64_t sooner) const;
    /// The same for an entity that was the sooner one some time ago: what its cells lead to.
    void fetchItems(std::uint64_t eid) const;

    std::uint64_t entityCount() const;
    std::uint64_t cellCount() const;
    std::uint64_t itemCount() const;

    // For states, which are written entity by entity, by who holds the lock or needs none.

    StbSimpleMutex& lock() const { return *lock_; }
    /// Appends the entities of which something is kept, some of them twice, in any order.
    void addEntities(std::vector<std::uint64_t>& eids) const;
    /// False, and nothing is written, where nothing is kept of the entity.
    bool save(std::uint64_t eid, StateWriter& out) const;
    /// Takes what `save` wrote, for an entity of which nothing is kept.
    void load(std::uint64_t eid, StateReader& in);
    /// Forgets all that is kept of the entities for which `isOne` holds.
    template <typename IsOne>
    void forgetEntities(IsOne isOne) {
        entities_.eraseIf([&](const EntitySlot& slot) { return isOne(slot.eid); });
        lastEvents_.eraseIf([&](const LastEventSlot& slot) { return isOne(slot.eid); });
    }
    /// Takes the other's place but for the lock.
    void takeTables(DetectorState& other) noexcept {
        entities_ = std::move(other.entities_);
        lastEvents_ = std::move(other.lastEvents_);
    }

private:
    /// With few entities all of them are in the caches.
    bool isLarge() const { return entities_.size() > 4096; }
    void gcUnlocked(std::int64_t time);
    std::optional<Position> replaceLastEvent(const Event& event);
    static void saveCells(const CellTable& cells, StateWriter& out);
    static void saveSeries(const CellSlot& slot, StateWriter& out);
    static void loadCells(CellTable& cells, StateReader& in);
    template <typename Count>
    std::uint64_t sumOverEntities(Count count) const;

    FlatTable<EntitySlot> entities_;
    /// A table of its own: it is kept for ever, and gc walks only the entities that have series.
    FlatTable<LastEventSlot> lastEvents_;
    TimeBoxMemo timeBoxes_;
    std::shared_ptr<StbSimpleMutex> lock_;
};

} // namespace qorvel_detail

#endif
