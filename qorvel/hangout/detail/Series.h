#ifndef QORVEL_HANGOUT_DETAIL_SERIES_H
#define QORVEL_HANGOUT_DETAIL_SERIES_H

#include "qorvel/base/bits.h"
#include "qorvel/hangout/TsListItem.h"

#include <cstdint>
#include <limits>
#include <memory>

namespace qorvel_detail {

/// First and last millisecond that an item covers; they wrap at the ends of time.
inline std::int64_t beginOf(const TsListItem& item) {
    return wrappingSubtract(item.time, item.tolerance);
}
inline std::int64_t endOf(const TsListItem& item) {
    return wrappingAdd(item.time, item.tolerance);
}

/// Which items a series keeps, by the end of what they cover.
struct Cutoff {
    std::int64_t time;
    bool keepsEqual;

    static Cutoff after(std::int64_t time) { return {time, false}; }
    static Cutoff notBefore(std::int64_t time) { return {time, true}; }

    bool keeps(const TsListItem& item) const {
        const std::int64_t end = endOf(item);
        return keepsEqual ? end >= time : end > time;
    }
};

/// How the items of a series lie about a boundary in time.
struct Tally {
    /// Items that begin before the boundary, and items that end at or after it; an item can be
    /// both.
    std::uint32_t beforeCount = 0;
    std::uint32_t afterCount = 0;
    /// Latest item time before the boundary, but at least 0.
    std::int64_t lastBefore = 0;
    /// Earliest item time at or after the boundary.
    std::int64_t firstAfter = std::numeric_limits<std::int64_t>::max();
};

/// The items of one entity near one cell, in order of arrival.
///
/// Events mostly arrive in order of time. While they do, what is forgotten stands in front and the
/// counts follow from a binary search, so an event hardly costs more in a long series. A late item,
/// or one whose tolerance reaches back before its predecessor's, makes the series walk, with the
/// same results, until such items have left it.
///
/// A ring buffer: a window that slides over a steady stream moves and allocates nothing.
class Series {
public:
    Series() = default;
    Series(const Series& other);
    Series& operator=(const Series&) = delete;
    /// What was moved from is only good for being destroyed or overwritten.
    Series(Series&&) = default;
    Series& operator=(Series&&) = default;
    ~Series() = default;

    bool empty() const { return size_ == 0; }
    std::uint32_t size() const { return size_; }
    const TsListItem& operator[](std::uint32_t index) const { return items_[slotOf(index)]; }
    const TsListItem& front() const { return (*this)[0]; }
    const TsListItem& back() const { return (*this)[size_ - 1]; }

    void append(const TsListItem& item);

    /// Fetches the first items ahead, and the place of the next one.
    void prefetch() const {
        __builtin_prefetch(items_.get() + head_);
        __builtin_prefetch(items_.get() + (size_ < capacity_ ? slotOf(size_) : 0));
    }

    /// Makes room for so many in all, of an empty series.
    void reserve(std::uint32_t items);

    /// Forgets all items; room for some is kept.
    void clear();

    /// Forgets every item that the cutoff does not keep, wherever it stands.
    void forget(const Cutoff& cutoff);

    Tally tally(std::int64_t boundary) const;

    /// Gives back room that a long series left behind. Never fails: without memory it does nothing.
    void releaseSpareRoom() noexcept;

private:
    TsListItem& at(std::uint32_t index) { return items_[slotOf(index)]; }

    std::uint32_t slotOf(std::uint32_t index) const {
        // Compared before added, so that nothing wraps.
        const std::uint32_t untilWrap = capacity_ - head_;
        return index < untilWrap ? head_ + index : index - untilWrap;
    }

    void grow();
    void moveTo(std::unique_ptr<TsListItem[]> items, std::uint32_t capacity) noexcept;
    void forgetFront(const Cutoff& cutoff);
    void forgetAnywhere(const Cutoff& cutoff);
    Tally tallyInOrder(std::int64_t boundary) const;
    Tally tallyByWalk(std::int64_t boundary) const;
    template <typename Before>
    std::uint32_t partitionPoint(std::uint32_t low, std::uint32_t high, Before before) const;

    std::unique_ptr<TsListItem[]> items_;
    std::uint32_t capacity_ = 0;
    std::uint32_t head_ = 0;
    std::uint32_t size_ = 0;
    /// Times, begins and ends all ascend from item to item, and none of them wraps. So
    /// it is in an empty series.
    bool inOrder_ = true;
};

} // namespace qorvel_detail

#endif
