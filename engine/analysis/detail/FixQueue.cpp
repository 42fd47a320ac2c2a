#include "engine/analysis/detail/FixQueue.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace qorvel_engine::detail {

namespace {

bool isAfter(const StayFix& left, const StayFix& right) {
    return right < left;
}

} // namespace

void FixQueue::addLate(const StayFix& fix) {
    late_.push_back(fix);
    std::push_heap(late_.begin(), late_.end(), isAfter);
}

StayFix FixQueue::takeLate() {
    std::pop_heap(late_.begin(), late_.end(), isAfter);
    const StayFix fix = late_.back();
    late_.pop_back();
    return fix;
}

void FixQueue::save(bool withRows, StateWriter& out) const {
    const auto begin = row_.begin() + static_cast<std::ptrdiff_t>(next_);
    std::vector<StayFix> late = late_;
    std::sort(late.begin(), late.end());
    std::vector<StayFix> all;
    std::merge(begin, row_.end(), late.begin(), late.end(), std::back_inserter(all));
    out.u64(all.size());
    for (const StayFix& fix : all) {
        out.i64(fix.time);
        out.f64(fix.latitude);
        out.f64(fix.longitude);
        out.f64(fix.accuracy);
        if (withRows) {
            out.u64(fix.row);
        }
    }
}

void FixQueue::load(bool withRows, StateReader& in) {
    constexpr std::size_t kFixSize = 4 * 8;
    const std::uint64_t count = in.count(kFixSize + (withRows ? 8 : 0));
    row_.reserve(static_cast<std::size_t>(count));
    for (std::uint64_t i = 0; i < count && in.isGood(); ++i) {
        StayFix fix{};
        fix.time = in.time();
        fix.latitude = in.latitude();
        fix.longitude = in.longitude();
        fix.accuracy = in.within(std::numeric_limits<double>::max());
        fix.row = withRows ? static_cast<std::uint64_t>(in.time()) : 0;
        in.expect(fix.accuracy >= 0.0 && (row_.empty() || !(fix < row_.back())));
        row_.push_back(fix);
    }
}

} // namespace qorvel_engine::detail
