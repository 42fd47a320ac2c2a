#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_PAIR_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_PAIR_H

#include "qorvel/base/hashing.h"

#include <cstddef>
#include <cstdint>
#include <utility>

namespace qorvel_engine::detail {

using Pair = std::pair<std::uint64_t, std::uint64_t>; ///< numbers of entities

struct PairHash {
    std::size_t operator()(const Pair& pair) const {
        return static_cast<std::size_t>(
            qorvel_detail::combine(qorvel_detail::mix(pair.first), pair.second));
    }
};

} // namespace qorvel_engine::detail

#endif
