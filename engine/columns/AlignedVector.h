#ifndef QORVEL_ENGINE_COLUMNS_ALIGNEDVECTOR_H
#define QORVEL_ENGINE_COLUMNS_ALIGNEDVECTOR_H

#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

namespace qorvel_engine {

/// Memory that begins at a multiple of 64 bytes, as Arrow recommends it. What resize() adds is not
/// cleared.
template <class T>
struct AlignedAllocator {
    using value_type = T;
    static constexpr std::align_val_t kAlignment{64};

    AlignedAllocator() noexcept = default;
    template <class Other>
    explicit AlignedAllocator(const AlignedAllocator<Other>&) noexcept {}

    /// Throws std::bad_alloc when memory runs out.
    T* allocate(std::size_t count) {
        if (count > static_cast<std::size_t>(-1) / sizeof(T)) {
            throw std::bad_alloc();
        }
        return static_cast<T*>(::operator new(count * sizeof(T), kAlignment));
    }
    void deallocate(T* memory, std::size_t) noexcept { ::operator delete(memory, kAlignment); }

    /// What a vector is grown by is written next: it need not be cleared before.
    template <class Value>
    void construct(Value* value) noexcept(std::is_nothrow_default_constructible_v<Value>) {
        ::new (static_cast<void*>(value)) Value;
    }
    template <class Value, class... Arguments>
    void construct(Value* value, Arguments&&... arguments) {
        ::new (static_cast<void*>(value)) Value(std::forward<Arguments>(arguments)...);
    }

    bool operator==(const AlignedAllocator&) const noexcept { return true; }
    bool operator!=(const AlignedAllocator&) const noexcept { return false; }
};

/// A vector that another system can take over as a buffer.
template <class T>
using AlignedVector = std::vector<T, AlignedAllocator<T>>;

} // namespace qorvel_engine

#endif
