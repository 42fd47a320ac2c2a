#ifndef QORVEL_HANGOUT_HANGOUTDETECTOR_H
#define QORVEL_HANGOUT_HANGOUTDETECTOR_H

#include "qorvel/config.h"
#include "qorvel/model/Event.h"
#include "qorvel/model/STBCompressedEvent.h"
#include "qorvel/model/STBCompressionSpec.h"
#include "qorvel/model/SpaceTimeBoxSpec.h"

#include <cstdint>
#include <list>
#include <memory>

QORVEL_BEGIN_NAMESPACE

/// The time series of entities near cells, and the two questions asked of them.
///
/// Each event files an item in the series of its own cell and of every neighbour that its spatial
/// tolerance reaches. A series that passes the detection rule gives up to two records: one for the
/// time box that ends at a boundary, one for the time box that starts there. A series that goes on
/// passing gives them again at every event; the processor (MotionProcessor) drops repeats, this
/// class does not.
///
/// Threads: the processing operations, gc and the three counts take a lock for their whole
/// duration, so several threads may call one detector. Copies share their source's lock.
/// Copying and assigning take no lock. An exception after the lock was taken leaves it held by the
/// calling thread, so that no other goes on unwarned with tables left halfway: other threads wait
/// until that thread ends, and the first of them gets StbThreadException and owns the lock (see
/// StbSimpleMutex).
///
/// Nothing is validated. No input is undefined: sums of times wrap, and an event whose coordinates
/// no cell holds (latitude 90, longitude 180, out of range) files nothing.
class QORVEL_EXPORT HangoutDetector {
public:
    HangoutDetector();
    /// Copies every series and last event; the two then go separate ways, taking turns on one lock.
    HangoutDetector(const HangoutDetector& other);
    /// As copying, and takes over the source's lock.
    HangoutDetector& operator=(const HangoutDetector& other);
    virtual ~HangoutDetector();

    /// Forgets the items whose time plus tolerance lies before `time` (ms), then the series and the
    /// entities that have nothing left. The last events, by which processEventDwellTime knows
    /// whether an entity stayed, are kept for ever.
    void gc(const std::int64_t& time);

    /// Presence compression: was the entity near a cell often enough within the spec's window?
    ///
    /// Items that ended at or before the event's time less the window are forgotten. The rest
    /// passes when there are at least spec.minCount. The boundary is the start of the current time
    /// box if that lies within the window, else its end. A side of the boundary is reported when
    /// its count is not 0 and is at least spec.ratio of both sides' sum. With a minCount of 0 a
    /// series in which nothing is left passes too, but has no side to report.
    ///
    /// @param timeToleranceFactor, spaceToleranceFactor  what the event's tolerances are multiplied
    ///        by (in this order, which is not that of STBAssignmentRow)
    /// @param out  records are appended
    /// @return true when the rule held in at least one cell, whether or not a side was reported
    bool processEventPresenceCompression(const Event& event, const double& timeToleranceFactor,
                                         const double& spaceToleranceFactor,
                                         const STBCompressionSpec& spec,
                                         const SpaceTimeBoxSpec& stbSpec,
                                         std::list<STBCompressedEvent>& out);

    /// Hangouts: did the entity stay near a cell, without a break, for at least the spec's window?
    ///
    /// A cell that the entity's previous event was not near begins anew. Items that ended before
    /// the event's time less the time box's length (getDurationMillis, which wraps) are forgotten.
    /// The rest passes when there are at least spec.minCount and they cover at least the window.
    /// The boundary is the start of the current time box. A side is reported when its count is not
    /// 0 and, divided by spec.minCount, is at least spec.ratio; with a minCount of 0 every side
    /// that has an item is. A series in which nothing is left does not pass.
    ///
    /// Parameters and result as above.
    bool processEventDwellTime(const Event& event, const double& timeToleranceFactor,
                               const double& spaceToleranceFactor, const STBCompressionSpec& spec,
                               const SpaceTimeBoxSpec& stbSpec, std::list<STBCompressedEvent>& out);

    /// How many entities have series. This and the next two are what a host watches to see the
    /// memory in use; each call walks all entities.
    std::uint64_t getEntityCount() const;
    /// How many series there are, one for each entity and cell.
    std::uint64_t getCellCount() const;
    /// How many items the series hold.
    std::uint64_t getItemCount() const;

private:
    friend class StateFile; // of saveState and loadState
    class State;
    std::unique_ptr<State> state_;
};

QORVEL_END_NAMESPACE

#endif
