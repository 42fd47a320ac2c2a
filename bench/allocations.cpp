#include "bench/allocations.h"

#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

constexpr std::align_val_t kUsual{alignof(std::max_align_t)};

std::size_t live = 0; // the programs that count have one thread

} // namespace

std::size_t allocations::liveBytes() {
    return live;
}

// The forms for arrays and without exceptions lead here by the standard library's definitions.
// In front of every block stands its size, in a header as wide as keeps the block aligned.
void* operator new(std::size_t size, std::align_val_t to) {
    const auto header = static_cast<std::size_t>(to);
    const std::size_t all = (size + 2 * header - 1) / header * header;
    void* const block = std::aligned_alloc(header, all);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    auto* const memory = static_cast<std::size_t*>(block) + header / sizeof(std::size_t);
    memory[-1] = size;
    live += size;
    return memory;
}

void operator delete(void* pointer, std::align_val_t to) noexcept {
    if (pointer != nullptr) {
        live -= static_cast<std::size_t*>(pointer)[-1];
        std::free(static_cast<char*>(pointer) - static_cast<std::size_t>(to));
    }
}

void* operator new(std::size_t size) {
    return operator new(size, kUsual);
}

void operator delete(void* pointer) noexcept {
    operator delete(pointer, kUsual);
}

void operator delete(void* pointer, std::size_t) noexcept {
    operator delete(pointer, kUsual);
}
