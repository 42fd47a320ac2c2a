#ifndef QORVEL_ENGINE_ANALYSIS_ENCOUNTERRESULT_H
#define QORVEL_ENGINE_ANALYSIS_ENCOUNTERRESULT_H

#include "engine/columns/ResultLayout.h"
#include "engine/export.h"

#include "qorvel/geohash/SpaceBox.h"

#include <cstdint>

namespace qorvel_engine {

/// Two entities that were together for some time.
struct QORVEL_ENGINE_EXPORT EncounterResult {
    std::uint64_t entityA = 0; ///< the one whose name is less
    std::uint64_t entityB = 0; ///< the other
    std::int64_t from = 0;     ///< the first moment, ms since 1970 UTC
    std::int64_t to = 0;       ///< the last moment, ms since 1970 UTC
    std::int64_t minutes = 0;  ///< between them, rounded
    double least = 0.0;        ///< the least distance between the two, metres
    std::int64_t fixes = 0;    ///< of either, at which the other was near
    double latitude = 0.0;     ///< of the fix at which they were nearest, degrees
    double longitude = 0.0;    ///< the same
    qorvel::SpaceBox cell;     ///< around that fix

    /// The columns.
    static const ResultLayout<EncounterResult>& layout();
};

} // namespace qorvel_engine

#endif
