#include "engine/analysis/detail/FixQueue.h"

#include <algorithm>

namespace qorvel_engine::detail {

namespace {

bool isAfter(const StayFix& left, const StayFix& right) {
    return right < left;
}

} // namespace

void FixQueue::add(const StayFix& fix) {
    if (next_ == row_.size() || !(fix < row_.back())) {
        row_.push_back(fix);
    } else {
        late_.push_back(fix);
        std::push_heap(late_.begin(), late_.end(), isAfter);
    }
}

/// The row gives back its front when half of it is that: each fix is moved once on average.
StayFix FixQueue::take() {
    if (isLateFirst()) {
        std::pop_heap(late_.begin(), late_.end(), isAfter);
        const StayFix fix = late_.back();
        late_.pop_back();
        return fix;
    }
    const StayFix fix = row_[next_++];
    if (2 * next_ >= row_.size()) {
        row_.erase(row_.begin(), row_.begin() + static_cast<std::ptrdiff_t>(next_));
        next_ = 0;
    }
    return fix;
}

} // namespace qorvel_engine::detail
