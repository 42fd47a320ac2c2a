#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_MOMENT_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_MOMENT_H

#include <cstdint>

namespace qorvel_engine::detail {

/// One of two entities has a fix, and the other is near.
struct Moment {
    std::uint64_t a;        ///< the entity with the smaller number
    std::uint64_t b;        ///< the other
    std::int64_t time;      ///< of the fix, ms
    double squaredDistance; ///< between the two, square metres
    double latitude;        ///< of the fix, degrees
    double longitude;       ///< of the fix, degrees
};

} // namespace qorvel_engine::detail

#endif
