#ifndef QORVEL_GEOHASH_DETAIL_POSITION_H
#define QORVEL_GEOHASH_DETAIL_POSITION_H

#include "qorvel/geohash/detail/NearCells.h"
#include "qorvel/geohash/detail/Parallel.h"
#include "qorvel/geohash/detail/PointCode.h"

#include <cstdint>

namespace qorvel_detail {

/// A point with what every row and spec asks of it, computed once.
class Position {
public:
    /// Degrees.
    Position(double latitude, double longitude)
        : parallel_(latitude), hasCell_(encodePoint(latitude, longitude, code_)) {
        if (hasCell_) {
            ownCell_ = interleave(code_, kMaxDepth);
        }
    }

    /// False where no cell holds the point: out of range, latitude 90, longitude 180.
    bool hasCell() const { return hasCell_; }

    const Parallel& parallel() const { return parallel_; }

    /// The point's cell with all its bits; the default box where no cell holds the point.
    const Cell& ownCell() const { return ownCell_; }

    /// The cells of the given depth within `distance` metres; none where no cell holds the point.
    void findNear(std::uint32_t depth, double distance, NearCells& near) const {
        near.count = 0;
        if (hasCell_) {
            near.count = 1;
            near.cells[0] = {ownCell_.first, ownCell_.second, depth};
            addNeighbours(code_, parallel_, depth, distance, near);
        }
    }

private:
    PointCode code_{};
    Cell ownCell_{0, 0, 0};
    Parallel parallel_;
    bool hasCell_;
};

} // namespace qorvel_detail

#endif
