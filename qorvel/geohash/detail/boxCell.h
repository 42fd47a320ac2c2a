#ifndef QORVEL_GEOHASH_DETAIL_BOXCELL_H
#define QORVEL_GEOHASH_DETAIL_BOXCELL_H

#include "qorvel/geohash/SpaceBox.h"
#include "qorvel/geohash/detail/Cell.h"

namespace qorvel_detail {

inline SpaceBox boxOf(const Cell& cell) {
    return SpaceBox(cell.first, cell.second, cell.depth);
}

/// What counts of a box: equal boxes give equal cells.
inline Cell significantCellOf(const SpaceBox& box) {
    return significant(box.getFirst64Bits(), box.getSecond64Bits(), box.getGeoHashBitDepth());
}

} // namespace qorvel_detail

#endif
