#ifndef QORVEL_ENGINE_ANALYSIS_STAYROWRESULT_H
#define QORVEL_ENGINE_ANALYSIS_STAYROWRESULT_H

#include "engine/columns/ResultLayout.h"
#include "engine/export.h"

#include <cstdint>

namespace qorvel_engine {

/// A row of the input that is a fix of a stay. Rows of no stay, and those that a stay leaves out,
/// have none. An entity and the begin are those of one stay only.
struct QORVEL_ENGINE_EXPORT StayRowResult {
    std::int64_t row = 0;     ///< its number in the input, from 0, bad rows included
    std::uint64_t entity = 0; ///< its number in the session's dictionary
    std::int64_t from = 0;    ///< when the stay began, ms since 1970 UTC
    std::int64_t to = 0;      ///< when it ended, ms since 1970 UTC

    /// The columns.
    static const ResultLayout<StayRowResult>& layout();
};

} // namespace qorvel_engine

#endif
