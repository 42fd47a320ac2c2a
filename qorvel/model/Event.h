#ifndef QORVEL_MODEL_EVENT_H
#define QORVEL_MODEL_EVENT_H

#include "qorvel/config.h"

#include <cstdint>
#include <sstream>

QORVEL_BEGIN_NAMESPACE

/// One observation: an entity seen at a place and time, each within a tolerance.
class QORVEL_EXPORT Event {
public:
    /// All zero; draws no sequence number.
    Event();

    /// Draws the next sequence number from the process-wide counter, which has no lock of its own:
    /// whoever constructs events without the facade holds QorvelMotionProcessorAPI::__stbMutex.
    /// A spatial tolerance of at most 0 is stored as 0.0; a NaN is kept.
    Event(std::int32_t primaryKeyId, std::uint64_t eid, std::int32_t secondaryKeyId,
          double latitude, double longitude, double spaceTolerance, std::int64_t time,
          std::uint32_t timeTolerance);

    /// Copies have their source's sequence number, and the tolerance is stored as by the
    /// constructor.
    Event(const Event& other);
    /// As copying.
    Event& operator=(const Event& other);
    virtual ~Event();

    /// Makes every check in this order and appends a tag for each that fails. Bounds are valid; a
    /// NaN is not (unlike in STBAssignmentRow::isValid).
    ///
    /// | field          | valid       | tag              |
    /// |----------------|-------------|------------------|
    /// | latitude       | -90 to 90   | "ERROR_EVENT_1," |
    /// | longitude      | -180 to 180 | "ERROR_EVENT_2," |
    /// | time           | >= 0        | "ERROR_EVENT_3," |
    /// | spaceTolerance | >= 0        | "ERROR_EVENT_4," |
    ///
    /// Latitude 90 and longitude 180 are valid although no cell holds them: such an event has no
    /// boxes.
    bool isValid(std::stringstream& errors) const;

    /// Number of the primary key (PrimaryKey).
    std::int32_t primaryKeyId;
    /// The entity: a number of EIDName or one of the host's own.
    std::uint64_t eid;
    /// Process-wide serial number, from 0 in order of construction.
    std::uint64_t sequenceNumber;
    /// Number of the secondary key (SecondaryKey).
    std::int32_t secondaryKeyId;
    /// Degrees, north positive.
    double latitude;
    /// Degrees, east positive.
    double longitude;
    /// How far the entity may be from the point, metres.
    double spaceTolerance;
    /// Milliseconds since 1970-01-01 00:00:00 UTC.
    std::int64_t time;
    /// How far the time stamp may be off, ms.
    std::uint32_t timeTolerance;
};

QORVEL_END_NAMESPACE

#endif
