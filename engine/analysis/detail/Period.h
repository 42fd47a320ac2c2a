#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_PERIOD_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_PERIOD_H

#include <algorithm>
#include <cstdint>

namespace qorvel_engine::detail {

/// Times from the first to the last, ms.
struct Period {
    std::int64_t first;
    std::int64_t last;

    bool has(std::int64_t time) const { return first <= time && time <= last; }
    std::int64_t length() const { return last - first; }
    void include(std::int64_t time) {
        first = std::min(first, time);
        last = std::max(last, time);
    }
};

} // namespace qorvel_engine::detail

#endif
