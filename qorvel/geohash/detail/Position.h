#ifndef QORVEL_GEOHASH_DETAIL_POSITION_H
#define QORVEL_GEOHASH_DETAIL_POSITION_H

#include "qorvel/geohash/detail/NearCells.h"
#include "qorvel/geohash/detail/PointCode.h"

#include <cstdint>

QORVEL_BEGIN_NAMESPACE
namespace detail {

/// A point with what every row and spec asks of it, computed once.
class Position {
public:
    /// Degrees.
    Position(double latitude, double longitude)
        : latitude_(latitude), hasCell_(encodePoint(latitude, longitude, code_)) {}

    /// The point's cell with all its bits; the default box where no cell holds the point.
    Cell ownCell() const {
        return hasCell_ ? interleave(code_, kMaxDepth) : Cell{0, 0, 0};
    }

    /// The cells of the given depth within `distance` metres; none where no cell holds the point.
    void findNear(std::uint32_t depth, double distance, NearCells& near) const {
        near.count = 0;
        if (hasCell_) {
            findNearCells(code_, latitude_, depth, distance, near);
        }
    }

private:
    PointCode code_{};
    double latitude_;
    bool hasCell_;
};

} // namespace detail
QORVEL_END_NAMESPACE

#endif
