#ifndef QORVEL_GEOHASH_DETAIL_REACH_H
#define QORVEL_GEOHASH_DETAIL_REACH_H

#include "qorvel/geohash/detail/Parallel.h"

namespace qorvel_detail {

/// A cheap answer to UtilG2::nearFilter for one centre and radius: whether a point is surely within
/// the radius or surely not. What stays in doubt, NaN included, is left to the exact distance,
/// which is why this cannot be seen from outside. So of the point's cosine bounds are enough.
///
/// With half angles u and v of the differences in latitude and longitude, the haversine is
/// h = sin^2 u + cos cos sin^2 v. Because x^2 (1 - x^2 / 3) <= sin^2 x <= x^2, the quantity
/// H = u^2 + cos cos v^2 bounds it from above and H (1 - max(u, v)^2 / 3) from below.
class Reach {
public:
    enum class Verdict { inside, outside, inDoubt };

    /// Degrees and metres, of any value.
    Reach(double latitude, double longitude, double radius);

    /// A point in degrees.
    Verdict judge(const Parallel& parallel, double longitude) const;

private:
    double latitude_;
    double longitude_;
    double cosLatitude_;
    /// The haversines of radii a little smaller and a little larger than the true one: at most the
    /// first is inside, at least the second is outside.
    double innerHaversine_;
    double outerHaversine_;
};

} // namespace qorvel_detail

#endif
