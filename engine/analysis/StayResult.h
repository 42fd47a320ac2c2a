#ifndef QORVEL_ENGINE_ANALYSIS_STAYRESULT_H
#define QORVEL_ENGINE_ANALYSIS_STAYRESULT_H

#include "engine/columns/ResultLayout.h"
#include "engine/export.h"

#include "qorvel/geohash/SpaceBox.h"

#include <cstdint>

namespace qorvel_engine {

/// An entity that stayed somewhere. Those of one entity do not overlap in time.
struct QORVEL_ENGINE_EXPORT StayResult {
    std::uint64_t entity = 0; ///< its number in the session's dictionary
    std::int64_t from = 0;    ///< ms since 1970 UTC: halfway between the fix before its first one
                              ///< and that, by whole seconds and half of maxGap before it at most;
                              ///< its own time where none was for longer than maxBridge
    std::int64_t to = 0;      ///< the same of its last fix and the one after it
    std::int64_t minutes = 0; ///< between them, rounded
    double latitude = 0.0;  ///< of the mean of its fixes, each weighted by 1 / max(accuracy, 1 m)^2
    double longitude = 0.0; ///< the same; -180 to 180
    double spread = 0.0;    ///< root mean square of the fixes' distances to it, as weighted, metres
    double farthest = 0.0;  ///< from it to the farthest fix, metres; in a stay whose centre has
                            ///< moved another may be farther, by no more than twice that way
    std::int64_t fixes = 0; ///< how many; what was far off or too inaccurate is none
    qorvel::SpaceBox cell;  ///< of 8 characters, 38 m by 19 m or less, about the mean

    /// The columns.
    static const ResultLayout<StayResult>& layout();
};

} // namespace qorvel_engine

#endif
