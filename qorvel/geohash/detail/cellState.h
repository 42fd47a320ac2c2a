#ifndef QORVEL_GEOHASH_DETAIL_CELLSTATE_H
#define QORVEL_GEOHASH_DETAIL_CELLSTATE_H

#include "qorvel/base/StateReader.h"
#include "qorvel/base/StateWriter.h"
#include "qorvel/geohash/detail/Cell.h"

namespace qorvel_detail {

/// A significant cell, in states.
inline void saveCell(const Cell& cell, StateWriter& out) {
    out.u64(cell.first);
    out.u64(cell.second);
    out.u32(cell.depth);
}

inline Cell loadCell(StateReader& in) {
    const std::uint64_t first = in.u64();
    const std::uint64_t second = in.u64();
    const Cell cell{first, second, in.u32()};
    in.expect(significant(cell) == cell);
    return cell;
}

} // namespace qorvel_detail

#endif
