#include "qorvel/hangout/detail/CellTable.h"

#include "qorvel/geohash/detail/hashing.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <utility>

QORVEL_BEGIN_NAMESPACE
namespace detail {

CellTable::CellTable(const CellTable& other)
    : slots_(other.capacity_ == 0 ? nullptr : new Slot[other.capacity_]),
      capacity_(other.capacity_), size_(other.size_) {
    for (std::uint32_t i = 0; i < capacity_; ++i) {
        const Slot& from = other.slots_[i];
        if (from.used) {
            slots_[i] = Slot{from.first, from.second, from.depth, true, Series(from.series)};
        }
    }
}

std::uint64_t CellTable::itemCount() const {
    std::uint64_t items = 0;
    for (std::uint32_t i = 0; i < capacity_; ++i) {
        items += slots_[i].series.size();
    }
    return items;
}

Series& CellTable::seriesOf(const Cell& cell) {
    std::uint32_t index = find(cell);
    if (index < capacity_ && slots_[index].used) {
        return slots_[index].series;
    }
    if (isFull()) {
        if (capacity_ > UINT32_MAX / 2) {
            throw std::length_error("too many cells");
        }
        const std::uint32_t capacity = std::max(1U, capacity_ * 2);
        moveTo(std::make_unique<Slot[]>(capacity), capacity);
        index = find(cell);
    }
    Slot& slot = slots_[index];
    slot.first = cell.first;
    slot.second = cell.second;
    slot.depth = cell.depth;
    slot.used = true;
    ++size_;
    return slot.series;
}

std::uint32_t CellTable::homeOf(const Cell& cell) const {
    return static_cast<std::uint32_t>(hashOf(cell)) & (capacity_ - 1);
}

/// The slot that holds the cell, else the free slot where it belongs, else (a small table may be
/// full) the capacity.
std::uint32_t CellTable::find(const Cell& cell) const {
    if (capacity_ == 0) {
        return 0;
    }
    std::uint32_t index = homeOf(cell);
    for (std::uint32_t probes = 0; probes < capacity_; ++probes) {
        if (!slots_[index].used || slots_[index].holds(cell)) {
            return index;
        }
        index = next(index);
    }
    return capacity_;
}

void CellTable::moveTo(std::unique_ptr<Slot[]> slots, std::uint32_t capacity) noexcept {
    slots.swap(slots_);
    std::swap(capacity, capacity_);
    for (std::uint32_t i = 0; i < capacity; ++i) {
        Slot& from = slots[i];
        if (from.used) {
            slots_[find(Cell{from.first, from.second, from.depth})] = std::move(from);
        }
    }
}

void CellTable::gc(const Cutoff& cutoff) noexcept {
    std::uint32_t index = 0;
    while (index < capacity_) {
        Slot& slot = slots_[index];
        if (slot.used) {
            slot.series.forget(cutoff);
            if (slot.series.empty()) {
                erase(index);
                continue; // another slot may have moved here
            }
            slot.series.releaseSpareRoom();
        }
        ++index;
    }
    releaseSpareRoom();
}

/// Frees a slot and closes the gap: every later slot of the run that the gap would cut off from its
/// home moves up. So look-ups may stop at the first free slot.
void CellTable::erase(std::uint32_t gap) noexcept {
    const std::uint32_t start = gap;
    const std::uint32_t mask = capacity_ - 1;
    for (std::uint32_t index = next(gap); index != start && slots_[index].used;
         index = next(index)) {
        const Slot& slot = slots_[index];
        const std::uint32_t home = homeOf(Cell{slot.first, slot.second, slot.depth});
        if (((index - home) & mask) >= ((index - gap) & mask)) {
            slots_[gap] = std::move(slots_[index]);
            gap = index;
        }
    }
    slots_[gap] = Slot();
    --size_;
}

/// Without memory for the smaller table the larger one stays.
void CellTable::releaseSpareRoom() noexcept {
    if (size_ == 0) {
        slots_.reset();
        capacity_ = 0;
        return;
    }
    std::uint32_t capacity = capacity_;
    while (capacity > 1 && size_ <= capacity / 4) {
        capacity /= 2;
    }
    if (capacity == capacity_) {
        return;
    }
    std::unique_ptr<Slot[]> slots(new (std::nothrow) Slot[capacity]);
    if (slots) {
        moveTo(std::move(slots), capacity);
    }
}

} // namespace detail
QORVEL_END_NAMESPACE
