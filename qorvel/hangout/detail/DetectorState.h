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

#include <cstddef>
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
    /// What is needed of the event by which processDwell knows whether an entity stayed.
    struct LastEvent {
        double latitude;
        double longitude;
    };

    struct EntityHash {
        std::size_t operator()(std::uint64_t eid) const noexcept {
            return static_cast<std::size_t>(mix(eid));
        }
    };

    void gcUnlocked(std::int64_t time);
    bool processPresenceUnlocked(const Event& event, const Position& position,
                                 const DetectionRule& rule, RecordSink& sink);
    bool processDwellUnlocked(const Event& event, const Position& position,
                              const DetectionRule& rule, RecordSink& sink);
    void releaseSpareBuckets() noexcept;
    template <typename Count>
    std::uint64_t sumOverEntities(Count count) const;

    template <typename Value>
    using ByEntity = std::unordered_map<std::uint64_t, Value, EntityHash>;

    ByEntity<CellTable> entities_;
    /// A table of its own: it is kept for ever, and gc walks only the entities that have series.
    ByEntity<LastEvent> lastEvents_;
    std::shared_ptr<StbSimpleMutex> lock_;
};

} // namespace detail
QORVEL_END_NAMESPACE

#endif
