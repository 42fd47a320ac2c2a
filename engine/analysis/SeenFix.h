#ifndef QORVEL_ENGINE_ANALYSIS_SEENFIX_H
#define QORVEL_ENGINE_ANALYSIS_SEENFIX_H

#include <cstdint>
#include <tuple>

namespace qorvel_engine {

/// Where an entity was, and when.
struct SeenFix {
    std::uint64_t eid; ///< the entity's number in the session's dictionary
    std::int64_t time; ///< ms since 1970 UTC, not negative
    double latitude;   ///< degrees
    double longitude;  ///< degrees

    bool operator==(const SeenFix& other) const {
        return std::tie(eid, time, latitude, longitude) ==
               std::tie(other.eid, other.time, other.latitude, other.longitude);
    }

    /// By entity, then by time; the rest makes the order of fixes in the input nothing to anybody.
    bool operator<(const SeenFix& other) const {
        return eid != other.eid ? eid < other.eid
               : time != other.time
                   ? time < other.time
                   : std::tie(latitude, longitude) < std::tie(other.latitude, other.longitude);
    }
};

} // namespace qorvel_engine

#endif
