#ifndef QORVEL_FACADE_QORVELMOTIONPROCESSORAPI_H
#define QORVEL_FACADE_QORVELMOTIONPROCESSORAPI_H

#include "qorvel/facade/StbSimpleMutex.h"
#include "qorvel/facade/StbThreadException.h"
#include "qorvel/geohash/SpaceBox.h"
#include "qorvel/model/Event.h"
#include "qorvel/model/STBAssignmentRow.h"
#include "qorvel/model/STBCompressedEvent.h"
#include "qorvel/model/STBCompressionSpec.h"
#include "qorvel/model/STBMasterRow.h"
#include "qorvel/model/SpaceTimeBox.h"
#include "qorvel/processor/MotionProcessor.h"

#include <cstdint>
#include <list>
#include <sstream>
#include <string>

QORVEL_BEGIN_NAMESPACE

/// The library's entry point for a host: records, events and processors from plain values, and
/// events through a processor.
///
/// Every call returns 0, or a negative code of its own when the record or processor that it built
/// is invalid. Tags (upper-case literals that end in a comma) are then appended to `errors`: first
/// those of the record's isValid, then the call's own. Nothing else is written to the stream, and
/// it is never cleared or read. Outputs are overwritten before they are judged, so a failed call
/// leaves the invalid record; names stay registered and sequence numbers used.
///
/// | call                                        | code | tag                               |
/// |---------------------------------------------|-----:|-----------------------------------|
/// | createSTBMasterRow                          |   -1 | "ERROR_CREATE_MASTER_1,"          |
/// | createSTBAssignmentRow                      |   -2 | "ERROR_CREATE_ASSIGN_1,"          |
/// | createHangoutSpec                           |   -3 | "ERROR_CREATE_HANGOUT_1,"         |
/// | createSTBCompressionSpec                    |   -4 | "ERROR_CREATE_COMPRESSIONSPEC_1," |
/// | createEvent                                 |   -5 | "ERROR_CREATE_EVENT_1,"           |
/// | createMotionProcessorForHangouts            |   -6 | "ERROR_CREATE_MOTIONPROCESSOR_1," |
/// | createMotionProcessorForPresenceCompression |   -7 | "ERROR_CREATE_MOTIONPROCESSOR_2," |
/// | createMotionProcessorForSTBs                |   -8 | "ERROR_CREATE_MOTIONPROCESSOR_3," |
///
/// Threads: records and events may be built on several threads at once; the name registries and
/// the sequence counter stand behind one lock. The processor calls take no lock: a processor and
/// its copies belong to one thread at a time.
///
/// Exceptions: nothing is caught. std::bad_alloc and StbThreadException pass to the host. An
/// exception while names are registered leaves the lock with the calling thread, which can go on;
/// other threads wait until that thread ends. The first of them is then told by
/// StbThreadException and itself owns the lock until it ends, even if it calls again.
class QORVEL_EXPORT QorvelMotionProcessorAPI {
public:
    /// `out` becomes the geohash text of `box`, five bits a character. The box is not validated.
    static int toString(const SpaceBox& box, std::string& out, std::stringstream& errors);

    /// The centre of the box's cell, degrees. The box is not validated; whatever its words decode
    /// to is averaged: the whole world (depth 0) gives latitude just below 0.
    static int getCentroid(const SpaceBox& box, double& latitude, double& longitude,
                           std::stringstream& errors);

    /// A master row: cells of `geohashLength` characters (five bits each; the product wraps in 32
    /// bits) and time boxes of `timeCount` units (TimeBoxSpec has the words).
    static int createSTBMasterRow(const std::string& masterName, const std::uint32_t& geohashLength,
                                  const std::uint32_t& timeCount, const std::string& timeUnit,
                                  STBMasterRow& out, std::stringstream& errors);

    /// An assignment row (STBAssignmentRow has the units and ranges). No geohashes stand for the
    /// whole world. Registers "ANY" as a primary key before the row's own, so that a host which
    /// begins with this call or a spec has it under number 0, the number that matches every event.
    static int
    createSTBAssignmentRow(const std::string& primaryKey, const std::string& secondaryKey,
                           const double& maxSpaceTolerance, const std::uint32_t& maxTimeTolerance,
                           const std::string& masterName, const std::list<std::string>& geohashes,
                           const double& latitude, const double& longitude, const double& radius,
                           const double& spaceToleranceFactor, const double& timeToleranceFactor,
                           STBAssignmentRow& out, std::stringstream& errors);

    /// A spec for presence compression with a look-back window of `windowCount` units. A spec holds
    /// milliseconds and no unit, so an unknown unit word is not reported: it gives a window of 0
    /// ms. Registers "ANY" as createSTBAssignmentRow does.
    static int createSTBCompressionSpec(const std::string& primaryKey,
                                        const std::string& secondaryKey,
                                        const std::string& masterName,
                                        const std::uint32_t& windowCount,
                                        const std::string& windowUnit,
                                        const std::uint32_t& minCount, const double& ratio,
                                        STBCompressionSpec& out, std::stringstream& errors);

    /// A spec for hangouts. Differs from createSTBCompressionSpec in its code and tag alone.
    static int createHangoutSpec(const std::string& primaryKey, const std::string& secondaryKey,
                                 const std::string& masterName, const std::uint32_t& windowCount,
                                 const std::string& windowUnit, const std::uint32_t& minCount,
                                 const double& ratio, STBCompressionSpec& out,
                                 std::stringstream& errors);

    /// An event of the entity called `eidName`: degrees, metres, milliseconds (Event has the
    /// ranges). Registers the three names and draws the next sequence number.
    static int createEvent(const std::string& primaryKey, const std::string& eidName,
                           const std::string& secondaryKey, const double& latitude,
                           const double& longitude, const double& spaceTolerance,
                           const std::int64_t& time, const std::uint32_t& timeTolerance, Event& out,
                           std::stringstream& errors);

    /// An event of entity number `eid`. Numbers given here and numbers of names share one space;
    /// a host that uses both keeps them apart.
    static int createEvent(const std::string& primaryKey, const std::uint64_t& eid,
                           const std::string& secondaryKey, const double& latitude,
                           const double& longitude, const double& spaceTolerance,
                           const std::int64_t& time, const std::uint32_t& timeTolerance, Event& out,
                           std::stringstream& errors);

    /// Builds a processor in `out` and validates it (MotionProcessor::isValid). The host pairs it
    /// with processEventForSTBs.
    static int createMotionProcessorForSTBs(const std::list<STBMasterRow>& masterRows,
                                            const std::list<STBAssignmentRow>& assignmentRows,
                                            MotionProcessor& out, std::stringstream& errors);

    /// The same with specs; paired with processEventForPresenceCompression.
    static int
    createMotionProcessorForPresenceCompression(const std::list<STBMasterRow>& masterRows,
                                                const std::list<STBAssignmentRow>& assignmentRows,
                                                const std::list<STBCompressionSpec>& specs,
                                                MotionProcessor& out, std::stringstream& errors);

    /// The same with specs; paired with processEventForHangouts.
    static int createMotionProcessorForHangouts(const std::list<STBMasterRow>& masterRows,
                                                const std::list<STBAssignmentRow>& assignmentRows,
                                                const std::list<STBCompressionSpec>& specs,
                                                MotionProcessor& out, std::stringstream& errors);

    /// Puts the event's space-time boxes in front of what `out` holds. Always 0, also when no row
    /// applies; `errors` is never written. Neither event nor processor is validated.
    static int processEventForSTBs(const Event& event, const MotionProcessor& processor,
                                   std::list<SpaceTimeBox>& out, std::stringstream& errors);

    /// Appends what presence compression finds, then removes from the whole of `out` what has been
    /// reported before. Always 0; `errors` is never written.
    static int processEventForPresenceCompression(const Event& event, MotionProcessor& processor,
                                                  std::list<STBCompressedEvent>& out,
                                                  std::stringstream& errors);

    /// The same for hangouts.
    static int processEventForHangouts(const Event& event, MotionProcessor& processor,
                                       std::list<STBCompressedEvent>& out,
                                       std::stringstream& errors);

    /// Forgets what ended before `time`, on the clock of the events (ms). Always 0.
    static int gc(MotionProcessor& processor, const std::int64_t& time);

    /// The same; `errors` is never written.
    static int gc(MotionProcessor& processor, const std::int64_t& time, std::stringstream& errors);

    /// The lock of the name registries and the sequence counter. A host that registers names or
    /// constructs events without the facade takes it. Lives until the process ends.
    static StbSimpleMutex* const __stbMutex;
};

QORVEL_END_NAMESPACE

#endif
