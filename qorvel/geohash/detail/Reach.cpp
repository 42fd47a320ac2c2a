#include "qorvel/geohash/detail/Reach.h"

#include "qorvel/geodesy/detail/GeodesyContext.h"
#include "qorvel/geodesy/detail/angles.h"
#include "qorvel/geohash/detail/NearCells.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qorvel_detail {

namespace {

/// How far the exact distance may be off by rounding, with much to spare. For coordinates in range
/// its error is below 1e-5 m from 10 km (where the cosine law begins) up to kFarthest, and far
/// below that under 10 km. Beyond kFarthest the cosine law loses its digits, and towards the
/// antipode rounding can even leave its domain, so nothing is decided there.
constexpr double kMargin = 1e-3;    // metres
constexpr double kFarthest = 1.5e7; // metres
/// Nothing is at most NaN. No number would do: about a centre out of range, cosines below 0 make
/// "haversines" below any.
constexpr double kNeverInside = std::numeric_limits<double>::quiet_NaN();
constexpr double kNeverOutside = std::numeric_limits<double>::infinity();

double haversineOf(double distance) {
    return square(std::sin(distance / (2.0 * defaultEllipsoid().sphereRadius)));
}

bool isInRange(double latitude, double longitude) {
    return latitude >= -90.0 && latitude <= 90.0 && longitude >= -180.0 && longitude <= 180.0;
}

} // namespace

Reach::Reach(double latitude, double longitude, double radius)
    : latitude_(latitude), longitude_(longitude), cosLatitude_(cosineOfLatitude(latitude)),
      innerHaversine_(kNeverInside), outerHaversine_(kNeverOutside) {
    if (!isInRange(latitude, longitude)) {
        return;
    }
    if (radius > kMargin) {
        innerHaversine_ = haversineOf(std::min(radius - kMargin, kFarthest));
    }
    if (radius < kFarthest) {
        outerHaversine_ = haversineOf(std::max(radius, 0.0) + kMargin);
    }
}

Reach::Verdict Reach::judge(const Parallel& parallel, double longitude) const {
    if (!isInRange(parallel.latitude(), longitude)) {
        return Verdict::inDoubt;
    }
    const double halfLatitude = toRadians(parallel.latitude() - latitude_) / 2.0;
    const double turn = std::abs(longitude - longitude_);
    const double halfLongitude = toRadians(std::min(turn, 360.0 - turn)) / 2.0;
    const auto bound = [&](double cosLatitude) {
        return square(halfLatitude) + cosLatitude_ * cosLatitude * square(halfLongitude);
    };
    if (bound(parallel.highCosine()) <= innerHaversine_) {
        return Verdict::inside;
    }
    const double widest = std::max(square(halfLatitude), square(halfLongitude));
    return bound(parallel.lowCosine()) * (1.0 - widest / 3.0) > outerHaversine_ ? Verdict::outside
                                                                                : Verdict::inDoubt;
}

} // namespace qorvel_detail
