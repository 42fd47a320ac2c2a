#include "engine/run/detail/ResultQueue.h"

#include "engine/run/detail/appendRows.h"

#include <cstdint>
#include <utility>

namespace qorvel_engine::detail {

namespace {

/// A table of its own for each of a few results would take more memory than they do.
constexpr std::uint64_t kFew = 1024;

} // namespace

void ResultQueue::add(ResultBatch results) {
    const std::lock_guard lock(mutex_);
    if (batches_.empty() || batches_.back().size + results.size > kFew) {
        batches_.push_back(std::move(results));
        return;
    }
    ResultBatch& last = batches_.back();
    last.text += results.text;
    appendRows(results.table, 0, results.table.size(), last.table);
    last.size += results.size;
}

std::optional<ResultBatch> ResultQueue::take() {
    const std::lock_guard lock(mutex_);
    if (batches_.empty()) {
        return std::nullopt;
    }
    std::optional<ResultBatch> first(std::move(batches_.front()));
    batches_.pop_front();
    return first;
}

bool ResultQueue::isEmpty() const {
    const std::lock_guard lock(mutex_);
    return batches_.empty();
}

} // namespace qorvel_engine::detail
