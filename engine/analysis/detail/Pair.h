#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_PAIR_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_PAIR_H

#include "engine/analysis/detail/state.h"

#include "qorvel/base/hashing.h"

#include <cstddef>
#include <cstdint>
#include <utility>

namespace qorvel_engine::detail {

using Pair = std::pair<std::uint64_t, std::uint64_t>; ///< numbers of entities

inline void savePair(const Pair& pair, StateWriter& out) {
    out.u64(pair.first);
    out.u64(pair.second);
}

/// Of two of so many entities.
inline Pair loadPair(StateReader& in, std::uint64_t entities) {
    Pair pair;
    pair.first = in.u64();
    pair.second = in.u64();
    in.expect(pair.first < entities && pair.second < entities && pair.first != pair.second);
    return pair;
}

struct PairHash {
    std::size_t operator()(const Pair& pair) const {
        return static_cast<std::size_t>(
            qorvel_detail::combine(qorvel_detail::mix(pair.first), pair.second));
    }
};

} // namespace qorvel_engine::detail

#endif
