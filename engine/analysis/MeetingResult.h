#ifndef QORVEL_ENGINE_ANALYSIS_MEETINGRESULT_H
#define QORVEL_ENGINE_ANALYSIS_MEETINGRESULT_H

#include "engine/columns/ResultLayout.h"
#include "engine/export.h"

#include "qorvel/geohash/SpaceBox.h"

#include <cstdint>

namespace qorvel_engine {

/// Two entities that shared cells and time boxes.
struct QORVEL_ENGINE_EXPORT MeetingResult {
    std::uint64_t entityA = 0;   ///< the one whose name is less
    std::uint64_t entityB = 0;   ///< the other
    std::uint32_t boxes = 0;     ///< distinct ones that they share
    std::uint32_t timeBoxes = 0; ///< distinct stretches of time among them
    std::int64_t firstTime =
        0;                     ///< when first both had been seen in a shared box, ms since 1970 UTC
    std::int64_t lastTime = 0; ///< the same for the last one, ms since 1970 UTC
    qorvel::SpaceBox cell;     ///< of the first box shared

    /// The columns.
    static const ResultLayout<MeetingResult>& layout();
};

} // namespace qorvel_engine

#endif
