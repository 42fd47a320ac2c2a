#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_STAYBUILDER_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_STAYBUILDER_H

#include "engine/analysis/detail/Stay.h"
#include "engine/analysis/detail/Visit.h"

#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace qorvel_engine::detail {

/// A stay of some visits, of which there is at least one.
class StayBuilder {
public:
    void add(const Visit& visit);
    Stay build(const Owner& owner);

private:
    std::uint64_t countFixes();

    std::int64_t from_ = std::numeric_limits<std::int64_t>::max();
    std::int64_t to_ = std::numeric_limits<std::int64_t>::min();
    std::uint64_t row_ = std::numeric_limits<std::uint64_t>::max();
    std::vector<Fixes> pieces_;
    std::vector<std::pair<SpaceBox, std::uint64_t>> cells_; ///< with the number of their fixes
};

} // namespace qorvel_engine::detail

#endif
