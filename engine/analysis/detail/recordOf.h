#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_RECORDOF_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_RECORDOF_H

#include "engine/analysis/RecordResult.h"

#include "qorvel/base/bits.h"
#include "qorvel/processor/detail/FigureProcessor.h"

namespace qorvel_engine::detail {

/// Of the covered fix that arrived last, ms; the end is a millisecond later, and wraps at the end
/// of time.
inline std::int64_t lastTimeOf(const qorvel_port::Figures& figures) {
    return qorvel_detail::wrappingSubtract(figures.endTime, 1);
}

/// What is told of a record.
template <class Result>
Result recordOf(const qorvel_port::Figures& figures) {
    return {{figures.eid, figures.stb, figures.stb.start, figures.stb.end, figures.totalCount,
             figures.beforeCount, figures.afterCount, figures.firstTime, lastTimeOf(figures),
             static_cast<std::int64_t>(figures.eventCount)}};
}

} // namespace qorvel_engine::detail

#endif
