#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_FIXGRID_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_FIXGRID_H

#include "engine/analysis/detail/EarthPoint.h"

#include "qorvel/base/hashing.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace qorvel_engine::detail {

/// Fixes, found by where and when they were. The cells are cubes, which have no poles, in slices of
/// time; that most of them are empty costs nothing, since they are known by their hash alone.
class FixGrid {
public:
    struct Fix {
        EarthPoint point;
        std::int64_t time; ///< ms
        std::uint64_t eid;
        std::size_t index; ///< the caller's
    };

    /// Those between two corners, the edges too.
    struct Box {
        EarthPoint least;
        EarthPoint greatest;

        /// Without a branch for each side, which would be guessed wrong.
        bool holds(const EarthPoint& point) const {
            return (static_cast<int>(point.x >= least.x) & static_cast<int>(point.x <= greatest.x) &
                    static_cast<int>(point.y >= least.y) & static_cast<int>(point.y <= greatest.y) &
                    static_cast<int>(point.z >= least.z) &
                    static_cast<int>(point.z <= greatest.z)) != 0;
        }
    };

    /// @param cellSize  metres, at least 1
    explicit FixGrid(double cellSize) : perMetre_(1.0 / cellSize) {}

    /// @param slices  of time, at least 1; best about as long as what is asked for at once
    void fill(const std::vector<Fix>& fixes, std::size_t slices);

    bool isEmpty() const { return byTime_.empty(); }

    /// In how many slices these ms lie, and how many fixes there are in them.
    struct Extent {
        std::size_t slices;
        std::size_t fixes;
    };
    Extent extentOf(std::int64_t from, std::int64_t to) const {
        const std::size_t first = sliceOf(from);
        const std::size_t end = sliceOf(to) + 1;
        return {end - first, sliceStarts_[end] - sliceStarts_[first]};
    }

    /// How many fixes there are from the first to the last of these ms.
    std::size_t countIn(std::int64_t from, std::int64_t to) const {
        return firstAfter(to) - firstFrom(from);
    }

    /// Calls visit(fix) for all fixes from the first to the last of these ms, by time.
    template <class Visit>
    void visitIn(std::int64_t from, std::int64_t to, Visit visit) const {
        const std::size_t end = firstAfter(to);
        for (std::size_t at = firstFrom(from); at < end; ++at) {
            visit(byTime_[at]);
        }
    }

    /// The same for those of them that lie in a box of space; for one of them more than once,
    /// perhaps.
    template <class Visit>
    void visitNear(const Box& box, std::int64_t from, std::int64_t to, Visit visit) const {
        const std::uint64_t last = sliceOf(to);
        for (std::int64_t x = cellOf(box.least.x); x <= cellOf(box.greatest.x); ++x) {
            for (std::int64_t y = cellOf(box.least.y); y <= cellOf(box.greatest.y); ++y) {
                for (std::int64_t z = cellOf(box.least.z); z <= cellOf(box.greatest.z); ++z) {
                    for (std::uint64_t slice = sliceOf(from); slice <= last; ++slice) {
                        visitCell(bucketOf(x, y, z, slice), box, from, to, visit);
                    }
                }
            }
        }
    }

private:
    void putInOrder(const std::vector<Fix>& fixes);

    /// Descends for no later time; those before and after all fixes have the slices of these.
    std::size_t sliceOf(std::int64_t time) const {
        const std::int64_t since = std::clamp(time, first_, last_) - first_;
        return static_cast<std::size_t>(static_cast<double>(since) * slicesPerMs_);
    }

    std::size_t firstFrom(std::int64_t time) const;
    std::size_t firstAfter(std::int64_t time) const;

    std::int64_t cellOf(double metres) const {
        const double cells = metres * perMetre_;
        const auto cut = static_cast<std::int64_t>(cells);
        return cut - (cells < static_cast<double>(cut) ? 1 : 0);
    }

    std::size_t bucketOf(std::int64_t x, std::int64_t y, std::int64_t z,
                         std::uint64_t slice) const {
        constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15U; // odd: no two of its multiples agree
        const auto cell =
            (static_cast<std::uint64_t>(x) * kSpread + static_cast<std::uint64_t>(y)) * kSpread +
            static_cast<std::uint64_t>(z);
        return static_cast<std::size_t>(qorvel_detail::mix(cell * kSpread + slice)) &
               (starts_.size() - 2);
    }
    std::size_t bucketOf(const Fix& fix) const {
        return bucketOf(cellOf(fix.point.x), cellOf(fix.point.y), cellOf(fix.point.z),
                        sliceOf(fix.time));
    }

    template <class Visit>
    void visitCell(std::size_t bucket, const Box& box, std::int64_t from, std::int64_t to,
                   Visit visit) const {
        constexpr std::size_t kFew = 16;
        std::size_t at = starts_[bucket];
        const std::size_t end = starts_[bucket + 1];
        if (end - at > kFew) {
            at = firstFromIn(at, end, from);
        }
        for (; at < end && byBucket_[at].time <= to; ++at) {
            if (byBucket_[at].time >= from && box.holds(byBucket_[at].point)) {
                visit(byBucket_[at]);
            }
        }
    }

    std::size_t firstFromIn(std::size_t begin, std::size_t end, std::int64_t time) const;

    double perMetre_;
    std::int64_t first_ = 0; ///< the first time of a fix, ms
    std::int64_t last_ = 0;  ///< the last
    double slicesPerMs_ = 0.0;
    std::vector<Fix> byTime_;
    std::vector<std::size_t> sliceStarts_; ///< in these, and the end
    std::vector<Fix> byBucket_;            ///< in each by time
    std::vector<std::size_t> starts_;      ///< of the buckets, and the end: a power of two and one
};

} // namespace qorvel_engine::detail

#endif
