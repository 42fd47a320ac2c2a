#ifndef QORVEL_ENGINE_ANALYSIS_PLACERESULT_H
#define QORVEL_ENGINE_ANALYSIS_PLACERESULT_H

#include "engine/columns/ResultLayout.h"
#include "engine/export.h"

#include "qorvel/geohash/SpaceBox.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace qorvel_engine {

/// Somewhere an entity stayed, once or again and again.
struct QORVEL_ENGINE_EXPORT PlaceResult {
    std::uint64_t entity = 0;         ///< its number in the session's dictionary
    std::int64_t rank = 0;            ///< among its places, by hours; 1 is the first
    std::optional<std::string> label; ///< "home", "work" or none
    double latitude = 0.0;  ///< of the mean of the stays' centres, each weighted by its length
    double longitude = 0.0; ///< the same; -180 to 180
    double spread = 0.0;    ///< root mean square of the stays' distances to it, as weighted, metres
    std::int64_t visits = 0;              ///< stays
    double hours = 0.0;                   ///< of all of them
    double nightHours = 0.0;              ///< from 22 to 6 o'clock
    double workHours = 0.0;               ///< from 9 to 17 o'clock, Monday to Friday
    std::array<double, 7> weekdayHours{}; ///< from midnight to midnight, Monday first
    std::int64_t first = 0;               ///< when the first visit began, ms since 1970 UTC
    std::int64_t last = 0;                ///< when the last one ended, ms since 1970 UTC
    qorvel::SpaceBox cell;                ///< of 8 characters, 38 m by 19 m or less, about the mean

    /// The columns.
    static const ResultLayout<PlaceResult>& layout();
};

} // namespace qorvel_engine

#endif
