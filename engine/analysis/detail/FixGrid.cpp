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

void FixGrid::fill(const std::vector<Fix>& fixes, std::size_t slices) {
    putInOrder(fixes);
    first_ = byTime_.empty() ? 0 : byTime_.front().time;
    last_ = byTime_.empty() ? 0 : byTime_.back().time;
    slicesPerMs_ = static_cast<double>(slices) / (static_cast<double>(last_ - first_) + 1.0);
    std::size_t buckets = 2;
    while (buckets < 2 * byTime_.size()) {
        buckets *= 2;
    }
    starts_.assign(buckets + 1, 0);
    sliceStarts_.assign(sliceOf(last_) + 2, 0);
    std::vector<std::size_t> bucketsOf;
    bucketsOf.reserve(byTime_.size());
    for (const Fix& fix : byTime_) {
        bucketsOf.push_back(bucketOf(fix));
        ++starts_[bucketsOf.back()];
        ++sliceStarts_[sliceOf(fix.time) + 1];
    }
    sumUp(sliceStarts_);
    sumUp(starts_);
    byBucket_.resize(byTime_.size());
    for (std::size_t i = byTime_.size(); i-- > 0;) {
        byBucket_[--starts_[bucketsOf[i]]] = byTime_[i]; // in the end it is where the bucket starts
    }
}

/// Sorts what is small, and moves each fix once.
void FixGrid::putInOrder(const std::vector<Fix>& fixes) {
    struct Place {
        std::int64_t time;
        std::size_t at;
    };
    std::vector<Place> order;
    order.reserve(fixes.size());
    for (std::size_t i = 0; i < fixes.size(); ++i) {
        order.push_back({fixes[i].time, i});
    }
    std::sort(order.begin(), order.end(), [](const Place& left, const Place& right) {
        return left.time != right.time ? left.time < right.time : left.at < right.at;
    });
    byTime_.clear();
    byTime_.reserve(fixes.size());
    for (const Place& place : order) {
        byTime_.push_back(fixes[place.at]);
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
