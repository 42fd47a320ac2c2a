#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_POINTGRID_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_POINTGRID_H

#include "engine/analysis/detail/EarthPoint.h"

#include "qorvel/base/hashing.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <unordered_map>

namespace qorvel_engine::detail {

/// Finds points near another one, by cubes of space.
class PointGrid {
public:
    /// @param reach  how far points are looked for, metres
    explicit PointGrid(double reach) : side_(std::max(reach, 1.0)) {}

    void add(const EarthPoint& point, std::size_t number) { cells_.emplace(cellOf(point), number); }

    /// Calls visit(number) for all points within the reach, and for some others; for one of them
    /// more than once, perhaps. In no order.
    template <class Visit>
    void visitNear(const EarthPoint& point, Visit visit) const {
        for (const double x : {-side_, 0.0, side_}) {
            for (const double y : {-side_, 0.0, side_}) {
                for (const double z : {-side_, 0.0, side_}) {
                    const auto [begin, end] =
                        cells_.equal_range(cellOf({point.x + x, point.y + y, point.z + z}));
                    for (auto entry = begin; entry != end; ++entry) {
                        visit(entry->second);
                    }
                }
            }
        }
    }

private:
    /// A hash: others may have the same.
    std::uint64_t cellOf(const EarthPoint& point) const {
        std::uint64_t cell = 0;
        for (const double part : {point.x, point.y, point.z}) {
            const auto whole = static_cast<std::int64_t>(std::floor(part / side_));
            cell = qorvel_detail::combine(cell, static_cast<std::uint64_t>(whole));
        }
        return cell;
    }

    double side_;
    std::unordered_multimap<std::uint64_t, std::size_t> cells_;
};

} // namespace qorvel_engine::detail

#endif
