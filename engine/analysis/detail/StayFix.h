#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_STAYFIX_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_STAYFIX_H

#include <cstdint>
#include <tuple>

namespace qorvel_engine::detail {

/// What of an event stays are found by.
struct StayFix {
    std::int64_t time;     ///< ms since 1970 UTC, not negative
    double latitude;       ///< degrees
    double longitude;      ///< degrees
    double accuracy;       ///< metres, not negative
    std::uint64_t row = 0; ///< its number in the input

    /// By time; fixes of the same time by the rest, so that their order in the input is nothing to
    /// anybody but who asks for rows.
    bool operator<(const StayFix& other) const {
        return time != other.time
                   ? time < other.time
                   : std::tie(latitude, longitude, accuracy, row) <
                         std::tie(other.latitude, other.longitude, other.accuracy, other.row);
    }
};

} // namespace qorvel_engine::detail

#endif
