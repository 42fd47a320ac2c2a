#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_FIXES_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_FIXES_H

#include <cstdint>

namespace qorvel_engine::detail {

/// Fixes of an entity by number, from the first to before the end.
struct Fixes {
    std::uint64_t first;
    std::uint64_t end;

    std::uint64_t count() const { return end - first; }
};

} // namespace qorvel_engine::detail

#endif
