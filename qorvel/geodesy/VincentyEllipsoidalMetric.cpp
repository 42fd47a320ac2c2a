#include "qorvel/geodesy/VincentyEllipsoidalMetric.h"

#include "qorvel/geodesy/PointGeodetic128.h"
#include "qorvel/geodesy/detail/GeodesyContext.h"
#include "qorvel/geodesy/detail/angles.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

QORVEL_BEGIN_NAMESPACE

using qorvel_detail::defaultEllipsoid;
using qorvel_detail::kPi;
using qorvel_detail::kTwoPi;
using qorvel_detail::square;
using qorvel_detail::toDegrees;
using qorvel_detail::toRadians;

namespace {

/// An arc on the auxiliary sphere: its length sigma, alpha its azimuth at the equator, sigmaM the
/// arc from the equator to its middle.
struct Arc {
    double sigma;
    double sinSigma;
    double cosSigma;
    double sinAlpha;
    double cosSqAlpha;
    double cos2SigmaM;
};

/// How far the longitude on the auxiliary sphere exceeds the one on the ellipsoid.
double longitudeExcess(const Arc& arc) {
    const double f = defaultEllipsoid().flattening;
    const double c = f / 16 * arc.cosSqAlpha * (4 + f * (4 - 3 * arc.cosSqAlpha));
    return (1 - c) * f * arc.sinAlpha *
           (arc.sigma +
            c * arc.sinSigma *
                (arc.cos2SigmaM + c * arc.cosSigma * (-1 + 2 * square(arc.cos2SigmaM))));
}

/// Vincenty's A and B and the correction of an arc's length.
class Series {
public:
    /// `lastCoefficient` is the one of the highest power in B. The two problems have it with
    /// opposite signs, and both are to stay as they are: results must not change.
    Series(double cosSqAlpha, double lastCoefficient) {
        const double a = defaultEllipsoid().semiMajorAxis;
        const double b = defaultEllipsoid().semiMinorAxis;
        const double uSq = cosSqAlpha * (square(a) - square(b)) / square(b);
        a_ = 1 + uSq / 16384 * (4096 + uSq * (-768 + uSq * (320 - 175 * uSq)));
        b_ = uSq / 1024 * (256 + uSq * (-128 + uSq * (74 + lastCoefficient * uSq)));
    }

    double a() const { return a_; }

    double deltaSigma(const Arc& arc) const {
        return b_ * arc.sinSigma *
               (arc.cos2SigmaM + b_ / 4 *
                                     (arc.cosSigma * (-1 + 2 * square(arc.cos2SigmaM)) -
                                      b_ / 6 * arc.cos2SigmaM * (-3 + 4 * square(arc.sinSigma)) *
                                          (-3 + 4 * square(arc.cos2SigmaM))));
    }

private:
    double a_;
    double b_;
};

constexpr double kInverseCoefficient = 47;
constexpr double kDirectCoefficient = -47;

/// What the inverse problem does about values that rounding spoils, when it is asked for the
/// distance.
struct DistanceGuards {
    static bool areCoincident(double sinSigma) { return sinSigma <= DBL_MIN; }
    static double sinAlpha(double value) { return value; }
    static double cos2SigmaM(double value) { return std::isnan(value) ? 0 : value; }
};

/// The same when it is asked for the azimuth. The two differ on purpose.
struct AzimuthGuards {
    static bool areCoincident(double sinSigma) { return std::abs(sinSigma) < 2 * DBL_MIN; }
    static double sinAlpha(double value) {
        return std::isnan(value) ? 1 : std::clamp(value, -1.0, 1.0);
    }
    static double cos2SigmaM(double value) { return std::isfinite(value) ? value : 0; }
};

/// The latitude of a point on the auxiliary sphere.
double reducedLatitude(const IPoint& p) {
    return std::atan((1 - defaultEllipsoid().flattening) * std::tan(toRadians(p.getLatitude())));
}

struct SineCosine {
    explicit SineCosine(double angle) : sine(std::sin(angle)), cosine(std::cos(angle)) {}
    double sine;
    double cosine;
};

/// The inverse problem: the arc between two points.
template <class Guards>
class Inverse {
public:
    /// `longitudeDifference` in radians.
    Inverse(const IPoint& p1, const IPoint& p2, double longitudeDifference)
        : u1_(reducedLatitude(p1)), u2_(reducedLatitude(p2)), difference_(longitudeDifference),
          lambda_(longitudeDifference) {}

    /// Improves the arc until its longitude settles, up to a limit; false for coincident points.
    bool solve() {
        constexpr int maxIterations = 1000;
        constexpr double tolerance = 1e-12; // radians
        for (int i = 0; i < maxIterations; ++i) {
            const double previous = lambda_;
            if (!improve()) {
                return false;
            }
            if (!(std::abs(lambda_ - previous) > tolerance)) {
                break;
            }
        }
        return true;
    }

    const Arc& arc() const { return arc_; }

    /// The direction from the first point to the second, as atan2 gives it.
    double direction() const {
        const SineCosine lambda(lambda_);
        return std::atan2(eastward(lambda), northward(lambda));
    }

private:
    double eastward(const SineCosine& lambda) const { return u2_.cosine * lambda.sine; }
    double northward(const SineCosine& lambda) const {
        return u1_.cosine * u2_.sine - u1_.sine * u2_.cosine * lambda.cosine;
    }

    bool improve() {
        const SineCosine lambda(lambda_);
        arc_.sinSigma = std::sqrt(square(eastward(lambda)) + square(northward(lambda)));
        if (Guards::areCoincident(arc_.sinSigma)) {
            return false;
        }
        arc_.cosSigma = u1_.sine * u2_.sine + u1_.cosine * u2_.cosine * lambda.cosine;
        arc_.sigma = std::atan2(arc_.sinSigma, arc_.cosSigma);
        arc_.sinAlpha = Guards::sinAlpha(u1_.cosine * u2_.cosine * lambda.sine / arc_.sinSigma);
        arc_.cosSqAlpha = 1 - square(arc_.sinAlpha);
        arc_.cos2SigmaM =
            Guards::cos2SigmaM(arc_.cosSigma - 2 * u1_.sine * u2_.sine / arc_.cosSqAlpha);
        lambda_ = difference_ + longitudeExcess(arc_);
        return true;
    }

    SineCosine u1_;
    SineCosine u2_;
    double difference_;
    double lambda_; ///< the longitude difference on the auxiliary sphere
    Arc arc_{};
};

/// The direct problem's arc of a given length in metres, which starts `sigma1` after the equator.
/// Only sinAlpha and cosSqAlpha of `arc` are set before, all of it is after.
void followArc(double distance, double sigma1, Arc& arc) {
    const double tolerance = std::exp(-12); // radians; coarse, and to stay so
    const Series series(arc.cosSqAlpha, kDirectCoefficient);
    const double unperturbed = distance / (defaultEllipsoid().semiMinorAxis * series.a());
    double previous = unperturbed;
    double change = 0;
    bool swings = false;
    arc.sigma = unperturbed;
    do {
        arc.sinSigma = std::sin(arc.sigma);
        arc.cosSigma = std::cos(arc.sigma);
        arc.cos2SigmaM = std::cos(2 * sigma1 + arc.sigma);
        const double next = unperturbed + series.deltaSigma(arc);
        change = std::abs(next - arc.sigma);
        // The numbers of a very long arc are further apart than the tolerance, and it may swing
        // between two of them for ever.
        swings = next == previous;
        previous = arc.sigma;
        arc.sigma = next;
    } while (change > tolerance && !swings);
    arc.sinSigma = std::sin(arc.sigma);
    arc.cosSigma = std::cos(arc.sigma);
}

} // namespace

VincentyEllipsoidalMetric::~VincentyEllipsoidalMetric() = default;

double VincentyEllipsoidalMetric::distance(const IPoint& p1, const IPoint& p2) const {
    Inverse<DistanceGuards> inverse(p1, p2, toRadians(p1.getLongitude() - p2.getLongitude()));
    if (!inverse.solve()) {
        return 0.0;
    }
    const Arc& arc = inverse.arc();
    const Series series(arc.cosSqAlpha, kInverseCoefficient);
    return defaultEllipsoid().semiMinorAxis * series.a() * (arc.sigma - series.deltaSigma(arc));
}

double VincentyEllipsoidalMetric::azimuth(const IPoint& p1, const IPoint& p2) const {
    Inverse<AzimuthGuards> inverse(p1, p2, toRadians(p2.getLongitude() - p1.getLongitude()));
    if (!inverse.solve()) {
        return 0.0;
    }
    return qorvel_detail::toAzimuth(inverse.direction());
}

PointGeodetic128* VincentyEllipsoidalMetric::destination(const IPoint& p, double azimuth,
                                                         double distance) const {
    const double f = defaultEllipsoid().flattening;
    const double tanU1 = (1 - f) * std::tan(toRadians(p.getLatitude()));
    const double cosU1 = 1 / std::sqrt(1 + square(tanU1));
    const double sinU1 = tanU1 * cosU1;
    const double cosAlpha1 = std::cos(azimuth);
    const double sinAlpha1 = std::sin(azimuth);

    Arc arc{};
    arc.sinAlpha = cosU1 * sinAlpha1;
    arc.cosSqAlpha = 1 - square(arc.sinAlpha);
    followArc(distance, std::atan2(tanU1, cosAlpha1), arc);

    const double phi2 = std::atan2(
        sinU1 * arc.cosSigma + cosU1 * arc.sinSigma * cosAlpha1,
        (1 - f) * std::sqrt(square(arc.sinAlpha) +
                            square(sinU1 * arc.sinSigma - cosU1 * arc.cosSigma * cosAlpha1)));
    const double lambda = std::atan2(arc.sinSigma * sinAlpha1,
                                     cosU1 * arc.cosSigma - sinU1 * arc.sinSigma * cosAlpha1);
    const double difference = lambda - longitudeExcess(arc);
    const double lambda2 =
        std::fmod(toRadians(p.getLongitude()) + difference + 3 * kPi, kTwoPi) - kPi;
    return new PointGeodetic128(toDegrees(phi2), toDegrees(lambda2));
}

QORVEL_END_NAMESPACE
