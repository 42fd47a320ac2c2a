#ifndef QORVEL_ENGINE_ANALYSIS_STAYRESULT_H
#define QORVEL_ENGINE_ANALYSIS_STAYRESULT_H

#include "engine/columns/ResultLayout.h"
#include "engine/export.h"

#include "qorvel/geohash/SpaceBox.h"

#include <cstdint>
#include <vector>

namespace qorvel_engine {

/// An entity that stayed somewhere.
struct QORVEL_ENGINE_EXPORT StayResult {
    std::uint64_t entity = 0;            ///< its number in the session's dictionary
    std::vector<qorvel::SpaceBox> cells; ///< the one with the most fixes first
    std::int64_t from = 0;               ///< of the first fix covered, ms since 1970 UTC
    std::int64_t to = 0;                 ///< of the last one, ms since 1970 UTC
    std::int64_t minutes = 0;            ///< between them, rounded
    std::int64_t fixes = 0;              ///< covered ones, each once
    std::int64_t cellCount = 0;          ///< of `cells`

    /// The columns.
    static const ResultLayout<StayResult>& layout();
};

} // namespace qorvel_engine

#endif
