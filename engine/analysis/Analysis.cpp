#include "engine/analysis/Analysis.h"

#include "engine/analysis/detail/state.h"

namespace qorvel_engine {

/// Of an analysis that keeps nothing.
void Shard::load(std::uint64_t, detail::StateReader& in) {
    in.fail();
}

} // namespace qorvel_engine
