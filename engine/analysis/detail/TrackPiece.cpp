#include "engine/analysis/detail/TrackPiece.h"

#include "qorvel/base/wgs84.h"

#include <cmath>

namespace qorvel_engine::detail {

namespace {

constexpr double kRadius = qorvel_detail::kWgs84SemiMajorAxis;

} // namespace

TrackPiece::TrackPiece(std::int64_t theFrom, std::int64_t theTo, const EarthPoint& start,
                       const EarthPoint& end)
    : from_(theFrom), to_(theTo),
      perMs_(theTo > theFrom ? 1.0 / static_cast<double>(theTo - theFrom) : 0.0),
      start_(start), way_{end.x - start.x, end.y - start.y, end.z - start.z},
      length_(std::sqrt(squaredDistance(start, end))),
      startRadius2_(squaredDistance(start, EarthPoint())),
      radius2Gained_(squaredDistance(end, EarthPoint()) - startRadius2_) {}

/// A path strays from its chord by at most an eighth of the square of its share times its largest
/// second derivative. That of a great circle which is gone along by even steps of a chord of the
/// length L, up to R, stays below L^2 / R + 3 L^3 / R^2.
double TrackPiece::strayWithin(double share) const {
    const double turn = length_ / kRadius;
    return share * share * length_ * turn * (1.0 + 3.0 * turn) / 8.0;
}

} // namespace qorvel_engine::detail
