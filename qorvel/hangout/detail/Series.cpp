#include "qorvel/hangout/detail/Series.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <utility>

namespace qorvel_detail {

namespace {

/// Within these bounds no begin or end wraps.
constexpr std::int64_t kFarthestTime = INT64_C(1) << 62;

bool isFarFromWrapping(const TsListItem& item) {
    return item.time > -kFarthestTime && item.time < kFarthestTime;
}

/// Then its time, half way between, does not come before the previous one either.
bool follows(const TsListItem& item, const TsListItem& previous) {
    return beginOf(item) >= beginOf(previous) && endOf(item) >= endOf(previous);
}

} // namespace

Series::Series(const Series& other)
    : items_(other.empty() ? nullptr : new TsListItem[other.size_]), capacity_(other.size_),
      size_(other.size_), inOrder_(other.inOrder_) {
    for (std::uint32_t i = 0; i < size_; ++i) {
        items_[i] = other[i];
    }
}

void Series::append(const TsListItem& item) {
    if (size_ == capacity_) {
        grow();
    }
    const bool ordered = isFarFromWrapping(item) && (empty() || follows(item, back()));
    inOrder_ = inOrder_ && ordered;
    ++size_;
    at(size_ - 1) = item;
}

void Series::reserve(std::uint32_t items) {
    if (items > capacity_) {
        moveTo(std::unique_ptr<TsListItem[]>(new TsListItem[items]), items);
    }
}

/// By a quarter: a steady stream grows a series only until its window is full, and a long one
/// should not hold much spare room. Many have but one item; those with a second one soon have more.
void Series::grow() {
    constexpr std::uint32_t kLeast = 4;
    const std::uint32_t more = capacity_ == 0 ? 1 : std::max(capacity_ / 4, kLeast);
    const std::uint64_t wanted = std::uint64_t{capacity_} + more;
    if (wanted > UINT32_MAX) {
        throw std::length_error("series too long");
    }
    const auto capacity = static_cast<std::uint32_t>(wanted);
    moveTo(std::unique_ptr<TsListItem[]>(new TsListItem[capacity]), capacity);
}

void Series::moveTo(std::unique_ptr<TsListItem[]> items, std::uint32_t capacity) noexcept {
    for (std::uint32_t i = 0; i < size_; ++i) {
        items[i] = (*this)[i];
    }
    items_ = std::move(items);
    capacity_ = capacity;
    head_ = 0;
}

void Series::releaseSpareRoom() noexcept {
    if (size_ >= capacity_ / 2) {
        return;
    }
    std::unique_ptr<TsListItem[]> items(new (std::nothrow) TsListItem[size_]);
    if (items) {
        moveTo(std::move(items), size_);
    }
}

void Series::clear() {
    head_ = 0;
    size_ = 0;
    inOrder_ = true;
}

void Series::forget(const Cutoff& cutoff) {
    if (inOrder_) {
        forgetFront(cutoff);
    } else {
        forgetAnywhere(cutoff);
    }
}

/// In order, ends ascend: whatever is forgotten stands in front.
void Series::forgetFront(const Cutoff& cutoff) {
    std::uint32_t forgotten = 0;
    while (forgotten < size_ && !cutoff.keeps((*this)[forgotten])) {
        ++forgotten;
    }
    if (forgotten == size_) {
        clear();
        return;
    }
    head_ = slotOf(forgotten);
    size_ -= forgotten;
}

void Series::forgetAnywhere(const Cutoff& cutoff) {
    std::uint32_t kept = 0;
    bool inOrder = true;
    for (std::uint32_t i = 0; i < size_; ++i) {
        const TsListItem item = (*this)[i];
        if (!cutoff.keeps(item)) {
            continue;
        }
        inOrder = inOrder && isFarFromWrapping(item) && (kept == 0 || follows(item, at(kept - 1)));
        at(kept) = item;
        ++kept;
    }
    size_ = kept;
    inOrder_ = inOrder;
}

Tally Series::tally(std::int64_t boundary) const {
    return inOrder_ ? tallyInOrder(boundary) : tallyByWalk(boundary);
}

/// The first item from `low` on that does not satisfy `before`, which no later one may satisfy
/// again; `high` where all below it do.
template <typename Before>
std::uint32_t Series::partitionPoint(std::uint32_t low, std::uint32_t high, Before before) const {
    while (low < high) {
        const std::uint32_t middle = low + (high - low) / 2;
        if (before((*this)[middle])) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low;
}

/// The counting rule of tallyByWalk where times, begins and ends each ascend.
Tally Series::tallyInOrder(std::int64_t boundary) const {
    const auto isBefore = [boundary](const TsListItem& item) { return item.time < boundary; };
    const auto beginsBefore = [boundary](const TsListItem& item) {
        return beginOf(item) < boundary;
    };
    const auto endsBefore = [boundary](const TsListItem& item) { return endOf(item) < boundary; };

    // Mostly the boundary is the end or the start of a box that all items lie in.
    std::uint32_t earlier = 0;
    std::uint32_t ended = 0;
    std::uint32_t begun = 0;
    if (!empty() && endsBefore(back())) {
        earlier = ended = begun = size_;
    } else if (!empty() && beginsBefore(front())) {
        earlier = partitionPoint(0, size_, isBefore);
        ended = partitionPoint(0, earlier, endsBefore);
        begun = partitionPoint(earlier, size_, beginsBefore);
    }

    Tally tally;
    tally.beforeCount = begun;
    tally.afterCount = size_ - ended;
    if (earlier > 0) {
        tally.lastBefore = std::max(tally.lastBefore, (*this)[earlier - 1].time);
    }
    if (earlier < size_) {
        tally.firstAfter = (*this)[earlier].time;
    }
    return tally;
}

/// The counting rule, literally.
Tally Series::tallyByWalk(std::int64_t boundary) const {
    Tally tally;
    for (std::uint32_t i = 0; i < size_; ++i) {
        const TsListItem& item = (*this)[i];
        tally.beforeCount += beginOf(item) < boundary ? 1U : 0U;
        tally.afterCount += endOf(item) >= boundary ? 1U : 0U;
        if (item.time >= boundary) {
            tally.firstAfter = std::min(tally.firstAfter, item.time);
        } else {
            tally.lastBefore = std::max(tally.lastBefore, item.time);
        }
    }
    return tally;
}

} // namespace qorvel_detail
