#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_FIXSUM_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_FIXSUM_H

#include "engine/analysis/detail/EarthPoint.h"
#include "engine/analysis/detail/state.h"

#include <cstdint>

namespace qorvel_engine::detail {

/// Some fixes as one, each weighted by 1 / max(accuracy, 1 m)^2. Means and scatters are joined as
/// in T. F. Chan, G. H. Golub, R. J. LeVeque, "Updating formulae", 1979: nothing cancels, so many
/// fixes far from the earth's centre lose no digits.
class FixSum {
public:
    /// None.
    FixSum() = default;

    /// One fix, its accuracy in metres.
    FixSum(const EarthPoint& at, double accuracy);

    /// Back to none, in less time than by another.
    void clear() { count_ = 0; }

    /// Adds others, all but their farthest one.
    void add(const FixSum& other);

    /// Takes the farthest one of others if it is farther from a point than its own. Asked about the
    /// same point for all, it is right for that one.
    void reach(const FixSum& other, const EarthPoint& point);

    std::uint64_t count() const { return count_; }

    /// Weighted. All of these are good only where there is a fix.
    const EarthPoint& centre() const { return centre_; }
    /// The root of the weighted mean of the squares of the distances to the centre, metres.
    double spread() const;
    /// From the centre to the farthest fix, metres: as far as reach() was asked about the centre.
    /// Where that has moved since, another may by now be farther, by twice the way at most.
    double farthest() const;

    void save(StateWriter& out) const;
    void load(StateReader& in);

private:
    double weight_ = 0.0;
    EarthPoint centre_;
    double scatter_ = 0.0; ///< sum of weight * squared distance to the centre
    EarthPoint farthest_;
    std::uint64_t count_ = 0;
};

} // namespace qorvel_engine::detail

#endif
