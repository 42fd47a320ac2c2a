#ifndef QORVEL_MODEL_STBCOMPRESSEDEVENT_H
#define QORVEL_MODEL_STBCOMPRESSEDEVENT_H

#include "qorvel/model/SpaceTimeBox.h"

#include <cstdint>
#include <list>

QORVEL_BEGIN_NAMESPACE

/// What presence compression and hangout detection report: an entity was near a cell during a time
/// box. The events are counted on both sides of a boundary in time; a detector reports the box
/// that ends there and the box that starts there as two records that differ in `stb` alone.
class QORVEL_EXPORT STBCompressedEvent {
public:
    /// All zero, with the default box.
    STBCompressedEvent();
    /// Stores the fields in their order.
    STBCompressedEvent(std::uint64_t eid, const std::list<std::uint64_t>& eventSequenceNumbers,
                       std::uint32_t specPrimaryKeyId, std::uint32_t eventSecondaryKeyId,
                       std::uint32_t masterId, const SpaceTimeBox& stb, std::int64_t firstTime,
                       std::int64_t endTime, std::int64_t lastTimeBefore,
                       std::int64_t firstTimeAfter, std::uint32_t totalCount,
                       std::uint32_t beforeCount, std::uint32_t afterCount);
    STBCompressedEvent(const STBCompressedEvent&) = default;
    STBCompressedEvent& operator=(const STBCompressedEvent&) = default;
    virtual ~STBCompressedEvent();

    /// The entity.
    std::uint64_t eid;
    /// Sequence numbers of the events covered, in order of arrival.
    std::list<std::uint64_t> eventSequenceNumbers;
    /// primaryKeyId of the spec that found it.
    std::uint32_t specPrimaryKeyId;
    /// secondaryKeyId of the event that established it.
    std::uint32_t eventSecondaryKeyId;
    /// masterId of the spec that found it.
    std::uint32_t masterId;
    /// The cell and the time box.
    SpaceTimeBox stb;
    /// Time of the event that arrived first, ms.
    std::int64_t firstTime;
    /// Time of the event that arrived last, plus 1 ms.
    std::int64_t endTime;
    /// Latest time before the boundary, at least 0; 0 where there is none.
    std::int64_t lastTimeBefore;
    /// Earliest time at or after the boundary; 9223372036854775807 where there is none.
    std::int64_t firstTimeAfter;
    /// beforeCount + afterCount; an event whose tolerance spans the boundary counts twice.
    std::uint32_t totalCount;
    /// Events whose time less tolerance lies before the boundary.
    std::uint32_t beforeCount;
    /// Events whose time plus tolerance lies at or after the boundary.
    std::uint32_t afterCount;
};

QORVEL_END_NAMESPACE

#endif
