#include "engine/run/detail/LastBatches.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace qorvel_engine::detail {

namespace {

/// So that those that are taken do not double the memory.
constexpr std::size_t kBatchResults = 16384;

} // namespace

LastBatches::LastBatches(LastResults results)
    : results_(std::move(results)), order_(results_.places().size()) {
    std::iota(order_.begin(), order_.end(), std::size_t{0});
    std::stable_sort(order_.begin(), order_.end(), [this](std::size_t left, std::size_t right) {
        return results_.places()[left] < results_.places()[right];
    });
}

std::optional<ResultBatch> LastBatches::take(const ResultMaker& maker) {
    if (next_ == order_.size()) {
        return std::nullopt;
    }
    std::optional<ResultBatch> batch(maker.makeBatch());
    const std::size_t end = std::min(order_.size(), next_ + kBatchResults);
    for (std::size_t i = next_; i < end; ++i) {
        maker.append(results_.table(), order_[i], *batch);
    }
    next_ = end;
    return batch;
}

} // namespace qorvel_engine::detail
