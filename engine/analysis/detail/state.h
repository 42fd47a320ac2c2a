#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_STATE_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_STATE_H

#include "qorvel/base/StateReader.h"
#include "qorvel/base/StateWriter.h"
#include "qorvel/geohash/SpaceBox.h"

#include <cstdint>

namespace qorvel_engine::detail {

// The library's, under names that public headers may have.

class StateWriter : public qorvel_detail::StateWriter {};

class StateReader : public qorvel_detail::StateReader {
public:
    explicit StateReader(const qorvel_detail::StateReader& reader)
        : qorvel_detail::StateReader(reader) {}

    double latitude() { return within(90.0); }
    double longitude() { return within(180.0); }
};

/// With all its bits, as results have it.
inline void saveBox(const qorvel::SpaceBox& box, StateWriter& out) {
    out.u64(box.getFirst64Bits());
    out.u64(box.getSecond64Bits());
    out.u32(box.getGeoHashBitDepth());
}

inline qorvel::SpaceBox loadBox(StateReader& in) {
    const std::uint64_t first = in.u64();
    const std::uint64_t second = in.u64();
    return {first, second, in.u32()};
}

} // namespace qorvel_engine::detail

#endif
