#ifndef QORVEL_HANGOUT_DETAIL_CELLTABLE_H
#define QORVEL_HANGOUT_DETAIL_CELLTABLE_H

#include "qorvel/geohash/detail/Cell.h"
#include "qorvel/hangout/detail/Series.h"

#include <cstdint>
#include <memory>

QORVEL_BEGIN_NAMESPACE
namespace detail {

/// The series of one entity, by cell. There may be millions of these with a cell or two each, so
/// an empty one is 16 bytes and the series stand in the table itself (open addressing, linear
/// probing; entries are only ever removed by gc, without tombstones). Cells are significant ones:
/// equal exactly when their space boxes are.
class CellTable {
public:
    CellTable() = default;
    CellTable(const CellTable& other);
    CellTable& operator=(const CellTable&) = delete;
    ~CellTable() = default;

    std::uint32_t size() const { return size_; }
    std::uint64_t itemCount() const;

    /// The series of `cell`, a new one if there is none. Valid until the next call.
    Series& seriesOf(const Cell& cell);

    /// Forgets what the cutoff does not keep, in every series, and the series that are empty then.
    void gc(const Cutoff& cutoff) noexcept;

private:
    struct Slot {
        std::uint64_t first = 0;
        std::uint64_t second = 0;
        std::uint32_t depth = 0;
        bool used = false;
        Series series;

        bool holds(const Cell& cell) const {
            return first == cell.first && second == cell.second && depth == cell.depth;
        }
    };

    std::uint32_t next(std::uint32_t index) const { return (index + 1) & (capacity_ - 1); }
    std::uint32_t homeOf(const Cell& cell) const;
    std::uint32_t find(const Cell& cell) const;
    bool isFull() const { return size_ >= capacity_ - capacity_ / 4; }
    void moveTo(std::unique_ptr<Slot[]> slots, std::uint32_t capacity) noexcept;
    void erase(std::uint32_t index) noexcept;
    void releaseSpareRoom() noexcept;

    std::unique_ptr<Slot[]> slots_;
    /// A power of two, or 0.
    std::uint32_t capacity_ = 0;
    std::uint32_t size_ = 0;
};

} // namespace detail
QORVEL_END_NAMESPACE

#endif
