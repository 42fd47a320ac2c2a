#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_FIXQUEUE_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_FIXQUEUE_H

#include "engine/analysis/detail/StayFix.h"
#include "engine/analysis/detail/state.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qorvel_engine::detail {

/// Puts the fixes of an entity in order: holds them until none that belongs before them can come.
///
/// Mostly they come in order, so they stand in a row to which fixes are appended; those that come
/// late are a heap beside it. In whatever order they come, a fix costs at most the logarithm of
/// their number.
class FixQueue {
public:
    void add(const StayFix& fix);

    bool isEmpty() const { return next_ == row_.size() && late_.empty(); }

    /// The time of the first. Where it is not empty.
    std::int64_t oldest() const { return first().time; }

    /// Takes the first out. Where it is not empty.
    StayFix take();

    /// In the order in which they would be taken.
    void save(StateWriter& out) const;
    /// Into an empty one.
    void load(StateReader& in);

private:
    bool isLateFirst() const {
        return next_ == row_.size() || (!late_.empty() && late_.front() < row_[next_]);
    }
    const StayFix& first() const { return isLateFirst() ? late_.front() : row_[next_]; }

    std::vector<StayFix> row_; ///< ascending
    std::size_t next_ = 0;     ///< those before it have been taken
    std::vector<StayFix> late_;
};

} // namespace qorvel_engine::detail

#endif
