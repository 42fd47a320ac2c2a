#ifndef QORVEL_ENGINE_ANALYSIS_PAIRRESULT_H
#define QORVEL_ENGINE_ANALYSIS_PAIRRESULT_H

#include "engine/columns/ResultLayout.h"
#include "engine/export.h"

#include <cstdint>

namespace qorvel_engine {

/// How often and how long two entities were together.
struct QORVEL_ENGINE_EXPORT PairResult {
    std::uint64_t entityA = 0;   ///< the one whose name is less
    std::uint64_t entityB = 0;   ///< the other
    std::int64_t encounters = 0; ///< how many
    std::int64_t minutes = 0;    ///< in all of them, rounded at the end
    std::int64_t first = 0;      ///< when the first began, ms since 1970 UTC
    std::int64_t last = 0;       ///< when the last ended, ms since 1970 UTC

    /// The columns.
    static const ResultLayout<PairResult>& layout();
};

} // namespace qorvel_engine

#endif
