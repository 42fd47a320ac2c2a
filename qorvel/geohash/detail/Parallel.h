#ifndef QORVEL_GEOHASH_DETAIL_PARALLEL_H
#define QORVEL_GEOHASH_DETAIL_PARALLEL_H

#include "qorvel/geodesy/detail/angles.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

namespace qorvel_detail {

/// The cosine of a latitude in degrees, in the form that the radius of its parallel is made from.
inline double cosineOfLatitude(double latitude) {
    return std::cos(latitude * kPi / 180.0);
}

inline constexpr std::size_t kCosineSteps = 1024;

/// From pole to pole, by the series of the sine of the way to the nearer pole.
consteval std::array<double, kCosineSteps + 1> makeCosines() {
    std::array<double, kCosineSteps + 1> cosines{};
    for (std::size_t step = 0; step < cosines.size(); ++step) {
        const double angle =
            static_cast<double>(std::min(step, kCosineSteps - step)) * kPi / kCosineSteps;
        double term = angle;
        for (int power = 1; power < 30; power += 2) {
            cosines[step] += term;
            term *= -angle * angle / ((power + 1) * (power + 2));
        }
    }
    return cosines;
}

inline constexpr std::array<double, kCosineSteps + 1> kCosines = makeCosines();

/// The parallel of a latitude: its cosine, and between which numbers that surely lies, which takes
/// a fraction of the time. Sums, products and quotients of a cosine that are rounded grow with it
/// or stay as they are: so where both bounds lead to one answer, it is the cosine's own, to the
/// last bit.
class Parallel {
public:
    /// Degrees, of any value. Bounds are NaN beyond the poles and of NaN, so that nothing is
    /// decided by them there.
    explicit Parallel(double latitude) : latitude_(latitude) {
        if (!(latitude >= -90.0 && latitude <= 90.0)) {
            return;
        }
        const double step = (latitude + 90.0) * (kCosineSteps / 180.0);
        const std::size_t below = std::min(static_cast<std::size_t>(step), kCosineSteps - 1);
        const double share = step - static_cast<double>(below);
        const double chord = kCosines[below] + (kCosines[below + 1] - kCosines[below]) * share;
        low_ = chord - kMargin;
        high_ = chord + (kSagitta + kMargin);
    }

    double latitude() const { return latitude_; }

    double lowCosine() const { return low_; }
    double highCosine() const { return high_; }

    /// As the mathematics library has it.
    double cosine() const { return cosineOfLatitude(latitude_); }

private:
    static constexpr double kStep = kPi / kCosineSteps; ///< radians

    /// The cosine lies above its chord over a step, by this much at most,
    static constexpr double kSagitta = kStep * kStep / 8.0;
    /// and rounding moves none of them by as much as this.
    static constexpr double kMargin = 1e-12;

    double latitude_;
    double low_ = std::numeric_limits<double>::quiet_NaN();
    double high_ = std::numeric_limits<double>::quiet_NaN();
};

} // namespace qorvel_detail

#endif
