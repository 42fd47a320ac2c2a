#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_STAY_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_STAY_H

#include "engine/analysis/detail/FixSum.h"

#include <cstdint>
#include <vector>

namespace qorvel_engine::detail {

/// A stay that nothing can change any more.
struct Stay {
    std::int64_t from;      ///< ms since 1970 UTC
    std::int64_t to;        ///< the same
    std::int64_t knownFrom; ///< the time, of a fix or in a silence, at which it became final
    FixSum fixes;
    std::vector<std::uint64_t> rows{}; ///< of its fixes, by time, if they are wanted
};

} // namespace qorvel_engine::detail

#endif
