#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_TRACKPIECE_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_TRACKPIECE_H

#include "engine/analysis/detail/EarthPoint.h"

#include <cmath>
#include <cstdint>

namespace qorvel_engine::detail {

/// Where an entity is for some time: on its way between two fixes, evenly, or at one of them.
class TrackPiece {
public:
    /// Metres; on a longer way the path is anything but even.
    static constexpr double kLongestBounded = 6e6;

    /// On the way from one fix to the next.
    TrackPiece(std::int64_t theFrom, std::int64_t theTo, const EarthPoint& start,
               const EarthPoint& end);

    /// At one fix all the time.
    TrackPiece(std::int64_t theFrom, std::int64_t theTo, const EarthPoint& place)
        : TrackPiece(theFrom, theTo, place, place) {}

    /// The first and the last of its ms.
    std::int64_t from() const { return from_; }
    std::int64_t to() const { return to_; }

    /// Metres, straight.
    double length() const { return length_; }

    /// How far it may stray, metres, from the straight line between two of its places, this share
    /// of the time apart. For lengths up to kLongestBounded.
    double strayWithin(double share) const;

    /// The share that so many ms are of the time.
    double shareOf(std::int64_t ms) const { return static_cast<double>(ms) * perMs_; }

    /// Where it is at a time of from() to to(): on the straight line, raised to the ground. NaN in
    /// the middle between two ends of the earth.
    EarthPoint at(std::int64_t time) const {
        const double share = shareOf(time - from_);
        const EarthPoint below{start_.x + share * way_.x, start_.y + share * way_.y,
                               start_.z + share * way_.z};
        const double raise = std::sqrt((startRadius2_ + share * radius2Gained_) /
                                       squaredDistance(below, EarthPoint()));
        return {below.x * raise, below.y * raise, below.z * raise};
    }

private:
    std::int64_t from_;
    std::int64_t to_;
    double perMs_;
    EarthPoint start_;
    EarthPoint way_;
    double length_;
    double startRadius2_;
    double radius2Gained_;
};

} // namespace qorvel_engine::detail

#endif
