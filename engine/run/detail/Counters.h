#ifndef QORVEL_ENGINE_RUN_DETAIL_COUNTERS_H
#define QORVEL_ENGINE_RUN_DETAIL_COUNTERS_H

#include "engine/run/RunFigures.h"

#include <atomic>

namespace qorvel_engine::detail {

/// RunFigures that any thread may read while others count.
class Counters {
public:
    using Counter = std::atomic<std::uint64_t>;

    Counter pushed = 0;
    Counter processed = 0;
    Counter rejected = 0;
    Counter late = 0;
    Counter outOfOrder = 0;
    Counter results = 0;

    static void add(Counter& counter, std::uint64_t count = 1) noexcept {
        counter.fetch_add(count, std::memory_order_relaxed);
    }

    void set(const RunFigures& figures) noexcept {
        pushed = figures.pushed;
        processed = figures.processed;
        rejected = figures.rejected;
        late = figures.late;
        outOfOrder = figures.outOfOrder;
        results = figures.results;
    }

    RunFigures read() const noexcept {
        const auto get = [](const Counter& counter) {
            return counter.load(std::memory_order_relaxed);
        };
        return {get(pushed), get(processed),  get(rejected),
                get(late),   get(outOfOrder), get(results)};
    }
};

} // namespace qorvel_engine::detail

#endif
