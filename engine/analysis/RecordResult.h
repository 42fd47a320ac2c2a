#ifndef QORVEL_ENGINE_ANALYSIS_RECORDRESULT_H
#define QORVEL_ENGINE_ANALYSIS_RECORDRESULT_H

#include "engine/columns/ResultLayout.h"
#include "engine/export.h"

#include "qorvel/geohash/SpaceBox.h"

#include <cstdint>

namespace qorvel_engine {

/// An entity that was often or long enough in a cell and time box.
struct RecordResult {
    std::uint64_t entity = 0; ///< its number in the session's dictionary
    qorvel::SpaceBox cell;
    std::int64_t boxStart = 0;  ///< ms since 1970 UTC
    std::int64_t boxEnd = 0;    ///< ms since 1970 UTC
    std::uint32_t total = 0;    ///< fixes before and after the boundary; some are both
    std::uint32_t before = 0;   ///< fixes before the boundary of the time boxes
    std::uint32_t after = 0;    ///< fixes after it
    std::int64_t firstTime = 0; ///< of the covered fix that arrived first, ms since 1970 UTC
    std::int64_t lastTime = 0;  ///< of the covered fix that arrived last, ms since 1970 UTC
    std::int64_t events = 0;    ///< covered fixes
};

/// A presence record.
struct QORVEL_ENGINE_EXPORT PresenceResult : RecordResult {
    /// The columns.
    static const ResultLayout<PresenceResult>& layout();
};

/// A hangout.
struct QORVEL_ENGINE_EXPORT HangoutResult : RecordResult {
    /// The columns.
    static const ResultLayout<HangoutResult>& layout();
};

} // namespace qorvel_engine

#endif
