#include "qorvel/model/Event.h"

#include "qorvel/model/detail/check.h"

QORVEL_BEGIN_NAMESPACE

namespace {

/// Not atomic: events are constructed under the facade's lock.
std::uint64_t nextSequenceNumber = 0;

double clampTolerance(double tolerance) {
    return tolerance <= 0.0 ? 0.0 : tolerance;
}

/// Inclusive comparisons that a NaN fails.
bool within(double value, double low, double high) {
    return value >= low && value <= high;
}

} // namespace

Event::Event()
    : primaryKeyId(0), eid(0), sequenceNumber(0), secondaryKeyId(0), latitude(0.0), longitude(0.0),
      spaceTolerance(0.0), time(0), timeTolerance(0) {}

Event::Event(std::int32_t primaryKey, std::uint64_t entity, std::int32_t secondaryKey,
             double eventLatitude, double eventLongitude, double spatialTolerance,
             std::int64_t timeStamp, std::uint32_t temporalTolerance)
    : primaryKeyId(primaryKey), eid(entity), sequenceNumber(nextSequenceNumber++),
      secondaryKeyId(secondaryKey), latitude(eventLatitude), longitude(eventLongitude),
      spaceTolerance(clampTolerance(spatialTolerance)), time(timeStamp),
      timeTolerance(temporalTolerance) {}

Event::Event(const Event& other)
    : primaryKeyId(other.primaryKeyId), eid(other.eid), sequenceNumber(other.sequenceNumber),
      secondaryKeyId(other.secondaryKeyId), latitude(other.latitude), longitude(other.longitude),
      spaceTolerance(clampTolerance(other.spaceTolerance)), time(other.time),
      timeTolerance(other.timeTolerance) {}

Event& Event::operator=(const Event& other) {
    if (this != &other) {
        primaryKeyId = other.primaryKeyId;
        eid = other.eid;
        sequenceNumber = other.sequenceNumber;
        secondaryKeyId = other.secondaryKeyId;
        latitude = other.latitude;
        longitude = other.longitude;
        spaceTolerance = clampTolerance(other.spaceTolerance);
        time = other.time;
        timeTolerance = other.timeTolerance;
    }
    return *this;
}

Event::~Event() = default;

bool Event::isValid(std::stringstream& errors) const {
    bool valid = qorvel_detail::check(within(latitude, -90.0, 90.0), "ERROR_EVENT_1,", errors);
    valid &= qorvel_detail::check(within(longitude, -180.0, 180.0), "ERROR_EVENT_2,", errors);
    valid &= qorvel_detail::check(time >= 0, "ERROR_EVENT_3,", errors);
    valid &= qorvel_detail::check(spaceTolerance >= 0.0, "ERROR_EVENT_4,", errors);
    return valid;
}

QORVEL_END_NAMESPACE
