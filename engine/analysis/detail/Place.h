#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_PLACE_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_PLACE_H

#include "engine/analysis/detail/EarthPoint.h"
#include "engine/analysis/detail/HourSums.h"

#include "qorvel/base/bits.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace qorvel_engine::detail {

/// Some stays of one entity as one.
struct Place {
    EarthPoint centre;    ///< the mean of theirs, each weighted by its length
    double weight = 0.0;  ///< their lengths, ms
    double scatter = 0.0; ///< sum of weight * squared distance to the centre
    std::int64_t visits = 0;
    HourSums hours;
    std::int64_t first = std::numeric_limits<std::int64_t>::max(); ///< ms since 1970 UTC
    std::int64_t last = 0;                                         ///< ms since 1970 UTC

    /// Means and scatters are joined as in FixSum.
    void add(const Place& other) {
        const double sum = weight + other.weight;
        const double share = other.weight / sum;
        scatter += other.scatter + squaredDistance(centre, other.centre) * weight * share;
        centre.x += (other.centre.x - centre.x) * share;
        centre.y += (other.centre.y - centre.y) * share;
        centre.z += (other.centre.z - centre.z) * share;
        weight = sum;
        visits = qorvel_detail::wrappingAdd(visits, other.visits);
        hours.add(other.hours);
        first = std::min(first, other.first);
        last = std::max(last, other.last);
    }
};

} // namespace qorvel_engine::detail

#endif
