#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_PAIR_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_PAIR_H

#include "engine/analysis/detail/state.h"

#include "qorvel/base/hashing.h"

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

/// A pair in a FlatTable, with what is known of it. No entity makes a pair with itself: that is a
/// free slot.
template <class Known>
struct PairSlot {
    using Key = Pair;

    Pair pair{};
    Known known{};

    bool isUsed() const { return pair.first != pair.second; }
    const Pair& key() const { return pair; }
    bool holds(const Pair& key) const { return pair == key; }
    void occupy(const Pair& key) { pair = key; }
    static std::uint64_t hash(const Pair& key) {
        return qorvel_detail::combine(qorvel_detail::mix(key.first), key.second);
    }
};

} // namespace qorvel_engine::detail

#endif
