#ifndef QORVEL_HANGOUT_DETAIL_DETECTORSTATE_H
#define QORVEL_HANGOUT_DETAIL_DETECTORSTATE_H

#include "qorvel/facade/StbSimpleMutex.h"
#include "qorvel/geohash/detail/Position.h"
#include "qorvel/geohash/detail/hashing.h"
#include "qorvel/hangout/detail/CellTable.h"
#include "qorvel/hangout/detail/RecordSink.h"
#include "qorvel/model/Event.h"
#include "qorvel/model/STBCompressionSpec.h"
#include "qorvel/model/SpaceTimeBoxSpec.h"

#include <cstdint>
#include <memory>
#include <unordered_map>

QORVEL_BEGIN_NAMESPACE
namespace detail {

/// What a row and a spec ask of a detector.
struct DetectionRule {
    double timeToleranceFactor;
    double spaceToleranceFactor;
    const STBCompressionSpec& spec;
    const SpaceTimeBoxSpec& stbSpec;
};

/// The inside of a HangoutDetector: entity, cell, series. A copy has tables of its own and shares
/// the lock.
///
/// The operations lock and unlock by explicit calls, without a guard: an exception in between
/// leaves the lock held, which is meant, so that another thread does not go on with tables that
/// were left halfway without being told.
class DetectorState {
public:
    DetectorState();

    void gc(std::int64_t time);
    bool processPresence(const Event& event, const Position& position, const DetectionRule& rule,
                         RecordSink& sink);
    bool processDwell(const Event& event, const Position& position, const DetectionRule& rule,
                      RecordSink& sink);

    std::uint64_t entityCount() const;
    std::uint64_t cellCount() const;
    std::uint64_t itemCount() const;

private:
    struct Entity {
        CellTable cells;
        /// Position of the last event that processDwell saw.
        double lastLatitude = 0.0;
        double lastLongitude = 0.0;
        /// An entity without series: gc has removed it, but its last event is kept.
        bool hasSeries = false;
        bool hasLast = false;
    };

    struct EntityHash {
        std::size_t operator()(std::uint64_t eid) const {
            return static_cast<std::size_t>(mix(eid));
        }
    };

    void gcUnlocked(std::int64_t time);
    bool processPresenceUnlocked(const Event& event, const Position& position,
                                 const DetectionRule& rule, RecordSink& sink);
    bool processDwellUnlocked(const Event& event, const Position& position,
                              const DetectionRule& rule, RecordSink& sink);
    Entity& findOrInsert(std::uint64_t eid);
    template <typename CountEntity>
    std::uint64_t sumOverEntities(CountEntity count) const;

    std::unordered_map<std::uint64_t, Entity, EntityHash> entities_;
    std::shared_ptr<StbSimpleMutex> lock_;
};

} // namespace detail
QORVEL_END_NAMESPACE

#endif
