#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_FIXGRID_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_FIXGRID_H

#include "engine/analysis/detail/EarthPoint.h"

#include "qorvel/base/hashing.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qorvel_engine::detail {

/// Fixes, found by where and when they were. The cells are cubes, which have no poles; that most of
/// them are empty costs nothing, since they are known by their hash alone.
class FixGrid {
public:
    struct Fix {
        EarthPoint point;
        std::int64_t time; ///< ms
        std::uint64_t eid;
        std::size_t index; ///< the caller's
    };

    /// @param cellSize  metres, at least 1
    explicit FixGrid(double cellSize) : perMetre_(1.0 / cellSize) {}

    void fill(std::vector<Fix> fixes);

    bool isEmpty() const { return byTime_.empty(); }

    /// How many fixes there are from the first to the last of these ms.
    std::size_t countIn(std::int64_t from, std::int64_t to) const;

    /// Calls visit(fix) for all fixes from the first to the last of these ms.
    template <class Visit>
    void visitIn(std::int64_t from, std::int64_t to, Visit visit) const {
        for (std::size_t at = firstFrom(from); at < byTime_.size() && byTime_[at].time <= to;
             ++at) {
            visit(byTime_[at]);
        }
    }

    /// The same for those of them that lie in a box of space, and for some others; for one of them
    /// more than once, perhaps.
    template <class Visit>
    void visitNear(const EarthPoint& least, const EarthPoint& greatest, std::int64_t from,
                   std::int64_t to, Visit visit) const {
        for (std::int64_t x = cellOf(least.x); x <= cellOf(greatest.x); ++x) {
            for (std::int64_t y = cellOf(least.y); y <= cellOf(greatest.y); ++y) {
                for (std::int64_t z = cellOf(least.z); z <= cellOf(greatest.z); ++z) {
                    visitCell(bucketOf(x, y, z), from, to, visit);
                }
            }
        }
    }

private:
    std::size_t firstFrom(std::int64_t time) const;

    std::int64_t cellOf(double metres) const {
        const double cells = metres * perMetre_;
        const auto cut = static_cast<std::int64_t>(cells);
        return cut - (cells < static_cast<double>(cut) ? 1 : 0);
    }

    std::size_t bucketOf(std::int64_t x, std::int64_t y, std::int64_t z) const {
        constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15U; // odd: no two of its multiples agree
        const auto cell =
            (static_cast<std::uint64_t>(x) * kSpread + static_cast<std::uint64_t>(y)) * kSpread +
            static_cast<std::uint64_t>(z);
        return static_cast<std::size_t>(qorvel_detail::mix(cell)) & (starts_.size() - 2);
    }

    template <class Visit>
    void visitCell(std::size_t bucket, std::int64_t from, std::int64_t to, Visit visit) const {
        constexpr std::size_t kFew = 16;
        std::size_t at = starts_[bucket];
        const std::size_t end = starts_[bucket + 1];
        if (end - at > kFew) {
            at = firstFromIn(at, end, from);
        }
        for (; at < end && byBucket_[at].time <= to; ++at) {
            if (byBucket_[at].time >= from) {
                visit(byBucket_[at]);
            }
        }
    }

    std::size_t firstFromIn(std::size_t begin, std::size_t end, std::int64_t time) const;

    double perMetre_;
    std::vector<Fix> byTime_;
    std::vector<Fix> byBucket_;       ///< in each by time
    std::vector<std::size_t> starts_; ///< of the buckets, and the end: a power of two and one
};

} // namespace qorvel_engine::detail

#endif
