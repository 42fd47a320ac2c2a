#ifndef QORVEL_HANGOUT_DETAIL_CELLTABLE_H
#define QORVEL_HANGOUT_DETAIL_CELLTABLE_H

#include "qorvel/base/FlatTable.h"
#include "qorvel/base/hashing.h"
#include "qorvel/geohash/detail/Cell.h"
#include "qorvel/hangout/detail/Series.h"

#include <cstdint>

namespace qorvel_detail {

/// The series of one entity near one significant cell. The key is laid out in place: beside the
/// depth there is room for the flag.
struct CellSlot {
    using Key = Cell;

    std::uint64_t first = 0;
    std::uint64_t second = 0;
    std::uint32_t depth = 0;
    bool used = false;
    Series series;

    bool isUsed() const { return used; }
    Cell key() const { return {first, second, depth}; }
    bool holds(const Cell& cell) const { return key() == cell; }
    void occupy(const Cell& cell) {
        first = cell.first;
        second = cell.second;
        depth = cell.depth;
        used = true;
    }
    static std::uint64_t hash(const Cell& cell) { return hashOf(cell); }
};

/// The series of one entity, by cell.
using CellTable = FlatTable<CellSlot>;

} // namespace qorvel_detail

#endif
