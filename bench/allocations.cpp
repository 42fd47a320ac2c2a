#include "bench/allocations.h"

#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

/// In front of every block stands its size; as wide as keeps the block aligned.
constexpr std::size_t kHeader = alignof(std::max_align_t);
static_assert(kHeader >= sizeof(std::size_t));

std::size_t live = 0; // the programs that count have one thread

} // namespace

std::size_t allocations::liveBytes() {
    return live;
}

// The forms for arrays and without exceptions lead here by the standard library's definitions.
void* operator new(std::size_t size) {
    void* const block = std::malloc(size + kHeader);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    *static_cast<std::size_t*>(block) = size;
    live += size;
    return static_cast<char*>(block) + kHeader;
}

void operator delete(void* pointer) noexcept {
    if (pointer != nullptr) {
        void* const block = static_cast<char*>(pointer) - kHeader;
        live -= *static_cast<std::size_t*>(block);
        std::free(block);
    }
}

void operator delete(void* pointer, std::size_t) noexcept {
    operator delete(pointer);
}
