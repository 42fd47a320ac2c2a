#ifndef QORVEL_ENGINE_RUN_DETAIL_RESULTQUEUE_H
#define QORVEL_ENGINE_RUN_DETAIL_RESULTQUEUE_H

#include "engine/run/ResultBatch.h"

#include <deque>
#include <mutex>
#include <optional>

namespace qorvel_engine::detail {

/// Results on their way from the threads that find them to the one that takes them.
class ResultQueue {
public:
    /// Some results, not none. Where they are few, they join those before them.
    void add(ResultBatch results);

    /// The next, if there are any.
    std::optional<ResultBatch> take();

    bool isEmpty() const;

private:
    mutable std::mutex mutex_;
    std::deque<ResultBatch> batches_;
};

} // namespace qorvel_engine::detail

#endif
