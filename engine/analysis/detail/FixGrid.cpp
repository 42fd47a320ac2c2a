#include "engine/analysis/detail/FixGrid.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace qorvel_engine::detail {

namespace {

/// From counts to where each ends; the last one is of none.
void sumUp(std::vector<std::size_t>& counts) {
    std::partial_sum(counts.begin(), counts.end(), counts.begin());
}

/// Of those from one to before another, the first that is so late, or the other.
template <class IsLate>
std::size_t firstIn(const std::vector<FixGrid::Fix>& fixes, std::size_t begin, std::size_t end,
                    IsLate isLate) {
    const auto first = fixes.begin();
    return static_cast<std::size_t>(
        std::partition_point(first + static_cast<std::ptrdiff_t>(begin),
                             first + static_cast<std::ptrdiff_t>(end),
                             [&](const FixGrid::Fix& fix) { return !isLate(fix); }) -
        first);
}

} // namespace

void FixGrid::fill(std::vector<Fix> fixes, std::size_t slices) {
    byTime_ = std::move(fixes);
    std::sort(byTime_.begin(), byTime_.end(), [](const Fix& left, const Fix& right) {
        return left.time != right.time ? left.time < right.time : left.index < right.index;
    });
    first_ = byTime_.empty() ? 0 : byTime_.front().time;
    last_ = byTime_.empty() ? 0 : byTime_.back().time;
    slicesPerMs_ = static_cast<double>(slices) / (static_cast<double>(last_ - first_) + 1.0);
    std::size_t buckets = 2;
    while (buckets < 2 * byTime_.size()) {
        buckets *= 2;
    }
    starts_.assign(buckets + 1, 0);
    sliceStarts_.assign(sliceOf(last_) + 2, 0);
    for (const Fix& fix : byTime_) {
        ++starts_[bucketOf(fix)];
        ++sliceStarts_[sliceOf(fix.time) + 1];
    }
    sumUp(sliceStarts_);
    sumUp(starts_);
    byBucket_.resize(byTime_.size());
    for (auto fix = byTime_.rbegin(); fix != byTime_.rend(); ++fix) {
        byBucket_[--starts_[bucketOf(*fix)]] = *fix; // in the end it is where the bucket starts
    }
}

std::size_t FixGrid::firstFrom(std::int64_t time) const {
    const std::size_t slice = sliceOf(time);
    return firstIn(byTime_, sliceStarts_[slice], sliceStarts_[slice + 1],
                   [time](const Fix& fix) { return fix.time >= time; });
}

std::size_t FixGrid::firstAfter(std::int64_t time) const {
    const std::size_t slice = sliceOf(time);
    return firstIn(byTime_, sliceStarts_[slice], sliceStarts_[slice + 1],
                   [time](const Fix& fix) { return fix.time > time; });
}

std::size_t FixGrid::firstFromIn(std::size_t begin, std::size_t end, std::int64_t time) const {
    return firstIn(byBucket_, begin, end, [time](const Fix& fix) { return fix.time >= time; });
}

} // namespace qorvel_engine::detail
