#ifndef QORVEL_ENGINE_ANALYSIS_BOXRESULT_H
#define QORVEL_ENGINE_ANALYSIS_BOXRESULT_H

#include "engine/columns/ResultLayout.h"
#include "engine/export.h"

#include "qorvel/geohash/SpaceBox.h"

#include <cstdint>

namespace qorvel_engine {

/// A cell and time box that a fix of an entity lies in.
struct QORVEL_ENGINE_EXPORT BoxResult {
    std::uint64_t entity = 0; ///< its number in the session's dictionary
    qorvel::SpaceBox cell;
    std::int64_t boxStart = 0; ///< ms since 1970 UTC
    std::int64_t boxEnd = 0;   ///< ms since 1970 UTC
    std::int64_t time = 0;     ///< of the fix, ms since 1970 UTC

    /// The columns.
    static const ResultLayout<BoxResult>& layout();
};

} // namespace qorvel_engine

#endif
