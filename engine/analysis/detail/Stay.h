#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_STAY_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_STAY_H

#include "qorvel/geohash/SpaceBox.h"

#include <compare>
#include <cstdint>
#include <vector>

namespace qorvel_engine::detail {

/// Whose stays are looked for: an entity's, at one resolution.
struct Owner {
    std::uint64_t eid;
    std::uint32_t masterId;

    // NOLINTNEXTLINE(modernize-use-nullptr): clang-tidy 14 sees a 0 in what the compiler makes
    auto operator<=>(const Owner&) const = default;
};

/// A stay that nothing can change any more.
struct Stay {
    Owner owner;
    std::int64_t from;
    std::int64_t to;
    std::uint64_t row; ///< that established it
    std::uint64_t fixes;
    std::vector<SpaceBox> cells; ///< the place first
};

} // namespace qorvel_engine::detail

#endif
