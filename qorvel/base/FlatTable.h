#ifndef QORVEL_BASE_FLATTABLE_H
#define QORVEL_BASE_FLATTABLE_H

#include <algorithm>
#include <bit>
#include <cstdint>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>

namespace qorvel_detail {

/// A hash table whose entries stand in one array: open addressing, linear probing, no tombstones.
/// With millions of entities an event costs what it has to fetch from memory, and a table of nodes
/// takes three fetches to find an entry where this takes one. An empty table is 16 bytes and small
/// ones are filled to the last slot, since most entities have a cell or two.
///
/// A Slot has a type Key, `isUsed()`, `key()`, `holds(key)`, `occupy(key)` and a static
/// `hash(key)`; it can be moved, and copied for the table to be.
template <typename Slot>
class FlatTable {
public:
    using Key = typename Slot::Key;

    FlatTable() = default;
    FlatTable(const FlatTable& other)
        : slots_(other.capacity_ == 0 ? nullptr : new Slot[other.capacity_]),
          capacity_(other.capacity_), size_(other.size_) {
        for (std::uint32_t i = 0; i < capacity_; ++i) {
            if (other.slots_[i].isUsed()) {
                slots_[i] = Slot(other.slots_[i]);
            }
        }
    }
    FlatTable(FlatTable&& other) noexcept { swap(other); }
    FlatTable& operator=(FlatTable other) noexcept {
        swap(other);
        return *this;
    }
    ~FlatTable() = default;

    std::uint32_t size() const { return size_; }

    /// Null when there is none. Valid until a slot is added or erased.
    Slot* find(const Key& key) const {
        const std::uint32_t index = indexOf(key);
        return index < capacity_ && slots_[index].isUsed() ? &slots_[index] : nullptr;
    }

    /// The slot of a key, occupied by it if it is new. Without memory the table is as before.
    Slot& findOrAdd(const Key& key) {
        std::uint32_t index = indexOf(key);
        if (index < capacity_ && slots_[index].isUsed()) {
            return slots_[index];
        }
        if (size_ >= capacity_ - capacity_ / 4) {
            grow();
            index = indexOf(key);
        }
        slots_[index].occupy(key);
        ++size_;
        return slots_[index];
    }

    /// Makes room for so many in all, in an empty table: as much as it would have with them.
    void reserve(std::uint32_t size) {
        std::uint32_t capacity = std::bit_ceil(size);
        capacity *= size > capacity - capacity / 4 ? 2U : 1U;
        if (capacity > capacity_) {
            moveTo(std::make_unique<Slot[]>(capacity), capacity);
        }
    }

    /// Fetches ahead the place where a key is looked for.
    void prefetch(const Key& key) const {
        if (capacity_ != 0) {
            __builtin_prefetch(&slots_[homeOf(key)]);
        }
    }

    /// Of a small table: all of it, or about that. A slot may lie in two lines of the caches.
    void prefetchFirst() const {
        __builtin_prefetch(slots_.get());
        __builtin_prefetch(slots_.get() + (capacity_ == 0 ? 0 : 1));
    }

    template <typename Visit>
    void forEach(Visit visit) const {
        for (std::uint32_t i = 0; i < capacity_; ++i) {
            if (slots_[i].isUsed()) {
                visit(slots_[i]);
            }
        }
    }

    /// Erases the slots for which `isDone` holds, and gives back room that they leave. It asks
    /// about each slot at least once; about some again, so to ask twice must not matter.
    template <typename IsDone>
    void eraseIf(IsDone isDone) noexcept {
        const auto fetchNothing = [](const Slot&) {};
        eraseIf(isDone, fetchNothing, fetchNothing);
    }

    /// The same, where what slots lead to is far: calls `fetch` and then `fetchNext` with slots
    /// that it will ask about soon.
    template <typename IsDone, typename Fetch, typename FetchNext>
    void eraseIf(IsDone isDone, Fetch fetch, FetchNext fetchNext) noexcept {
        constexpr std::uint32_t kAhead = 16;
        std::uint32_t index = 0;
        while (index < capacity_) {
            if (capacity_ - index > kAhead) {
                fetch(slots_[index + kAhead]);
                fetchNext(slots_[index + kAhead / 2]);
            }
            if (slots_[index].isUsed() && isDone(slots_[index])) {
                erase(index); // another slot may have moved here
            } else {
                ++index;
            }
        }
        releaseSpareRoom();
    }

private:
    void swap(FlatTable& other) noexcept {
        slots_.swap(other.slots_);
        std::swap(capacity_, other.capacity_);
        std::swap(size_, other.size_);
    }

    std::uint32_t next(std::uint32_t index) const { return (index + 1) & (capacity_ - 1); }

    std::uint32_t homeOf(const Key& key) const {
        return static_cast<std::uint32_t>(Slot::hash(key)) & (capacity_ - 1);
    }

    /// The slot that holds the key, else the free slot where it belongs, else (a small table may be
    /// full) the capacity.
    std::uint32_t indexOf(const Key& key) const {
        if (capacity_ == 0) {
            return 0;
        }
        std::uint32_t index = homeOf(key);
        for (std::uint32_t probes = 0; probes < capacity_; ++probes) {
            if (!slots_[index].isUsed() || slots_[index].holds(key)) {
                return index;
            }
            index = next(index);
        }
        return capacity_;
    }

    void grow() {
        if (capacity_ > UINT32_MAX / 2) {
            throw std::length_error("table too large");
        }
        const std::uint32_t capacity = std::max(1U, capacity_ * 2);
        moveTo(std::make_unique<Slot[]>(capacity), capacity);
    }

    void moveTo(std::unique_ptr<Slot[]> slots, std::uint32_t capacity) noexcept {
        slots.swap(slots_);
        std::swap(capacity, capacity_);
        for (std::uint32_t i = 0; i < capacity; ++i) {
            if (slots[i].isUsed()) {
                slots_[indexOf(slots[i].key())] = std::move(slots[i]);
            }
        }
    }

    /// Frees a slot and closes the gap: every later slot of the run that the gap would cut off from
    /// its home moves up. So look-ups may stop at the first free slot.
    void erase(std::uint32_t gap) noexcept {
        const std::uint32_t start = gap;
        const std::uint32_t mask = capacity_ - 1;
        for (std::uint32_t index = next(gap); index != start && slots_[index].isUsed();
             index = next(index)) {
            const std::uint32_t home = homeOf(slots_[index].key());
            if (((index - home) & mask) >= ((index - gap) & mask)) {
                slots_[gap] = std::move(slots_[index]);
                gap = index;
            }
        }
        slots_[gap] = Slot();
        --size_;
    }

    /// Without memory for the smaller table the larger one stays.
    void releaseSpareRoom() noexcept {
        if (size_ == 0) {
            slots_.reset();
            capacity_ = 0;
            return;
        }
        std::uint32_t capacity = capacity_;
        while (capacity > 1 && size_ <= capacity / 4) {
            capacity /= 2;
        }
        if (capacity < capacity_) {
            if (std::unique_ptr<Slot[]> slots{new (std::nothrow) Slot[capacity]}) {
                moveTo(std::move(slots), capacity);
            }
        }
    }

    std::unique_ptr<Slot[]> slots_;
    /// A power of two, or 0.
    std::uint32_t capacity_ = 0;
    std::uint32_t size_ = 0;
};

} // namespace qorvel_detail

#endif
