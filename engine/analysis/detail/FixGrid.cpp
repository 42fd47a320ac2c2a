#include "engine/analysis/detail/FixGrid.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace qorvel_engine::detail {

void FixGrid::fill(std::vector<Fix> fixes) {
    byTime_ = std::move(fixes);
    std::sort(byTime_.begin(), byTime_.end(), [](const Fix& left, const Fix& right) {
        return std::tie(left.time, left.index) < std::tie(right.time, right.index);
    });
    std::size_t buckets = 2;
    while (buckets < 2 * byTime_.size()) {
        buckets *= 2;
    }
    starts_.assign(buckets + 1, 0);
    const auto bucketAt = [this](const Fix& fix) {
        return bucketOf(cellOf(fix.point.x), cellOf(fix.point.y), cellOf(fix.point.z));
    };
    for (const Fix& fix : byTime_) {
        ++starts_[bucketAt(fix)];
    }
    std::size_t end =
        0; // from counts to where each bucket ends, then, backwards, to where it starts
    for (std::size_t& start : starts_) {
        end += start;
        start = end;
    }
    byBucket_.resize(byTime_.size());
    for (auto fix = byTime_.rbegin(); fix != byTime_.rend(); ++fix) {
        byBucket_[--starts_[bucketAt(*fix)]] = *fix;
    }
}

std::size_t FixGrid::countIn(std::int64_t from, std::int64_t to) const {
    const auto end = std::partition_point(byTime_.begin(), byTime_.end(),
                                          [to](const Fix& fix) { return fix.time <= to; });
    return static_cast<std::size_t>(end - byTime_.begin()) -
           std::min(firstFrom(from), static_cast<std::size_t>(end - byTime_.begin()));
}

std::size_t FixGrid::firstFrom(std::int64_t time) const {
    return static_cast<std::size_t>(
        std::partition_point(byTime_.begin(), byTime_.end(),
                             [time](const Fix& fix) { return fix.time < time; }) -
        byTime_.begin());
}

std::size_t FixGrid::firstFromIn(std::size_t begin, std::size_t end, std::int64_t time) const {
    const auto first = byBucket_.begin();
    return static_cast<std::size_t>(
        std::partition_point(first + static_cast<std::ptrdiff_t>(begin),
                             first + static_cast<std::ptrdiff_t>(end),
                             [time](const Fix& fix) { return fix.time < time; }) -
        first);
}

} // namespace qorvel_engine::detail
