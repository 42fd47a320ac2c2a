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
    void add(const StayFix& fix) {
        if (next_ == row_.size() || !(fix < row_.back())) {
            row_.push_back(fix);
        } else {
            addLate(fix);
        }
    }

    bool isEmpty() const { return next_ == row_.size() && late_.empty(); }

    /// The time of the first. Where it is not empty.
    std::int64_t oldest() const { return first().time; }

    /// Takes the first out. Where it is not empty.
    StayFix take() {
        if (isLateFirst()) {
            return takeLate();
        }
        const StayFix fix = row_[next_++];
        if (2 * next_ >= row_.size()) {
            forgetTaken();
        }
        return fix;
    }

    /// Fetches ahead from memory what take() returns, and where the next fix will be put; it has
    /// been fetched itself.
    void fetchEnds() const {
        __builtin_prefetch(row_.data() + next_);
        __builtin_prefetch(row_.data() + row_.size(), 1);
    }

    /// In the order in which they would be taken.
    void save(bool withRows, StateWriter& out) const;
    /// Into an empty one.
    void load(bool withRows, StateReader& in);

private:
    bool isLateFirst() const {
        return next_ == row_.size() || (!late_.empty() && late_.front() < row_[next_]);
    }
    void addLate(const StayFix& fix);
    StayFix takeLate();

    /// The row gives back its front when half of it is that: each fix is moved once on average. One
    /// alone, which is what is left where none is late, at little cost.
    void forgetTaken() {
        if (row_.size() - next_ == 1) {
            row_.front() = row_.back();
            row_.erase(row_.begin() + 1, row_.end());
        } else {
            row_.erase(row_.begin(), row_.begin() + static_cast<std::ptrdiff_t>(next_));
        }
        next_ = 0;
    }
    const StayFix& first() const { return isLateFirst() ? late_.front() : row_[next_]; }

    std::vector<StayFix> row_; ///< ascending
    std::size_t next_ = 0;     ///< those before it have been taken
    std::vector<StayFix> late_;
};

} // namespace qorvel_engine::detail

#endif
