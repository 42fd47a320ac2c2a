#include "qorvel/base/calendar.h"
#include "qorvel/base/decode.h"
#include "qorvel/qorvel.h"

#include <chrono>
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <random>
#include <typeinfo>

namespace {

using Point = PointGeodetic128;
using PointHandle = std::unique_ptr<Point>;
constexpr double kPi = std::numbers::pi;
constexpr double kRadius = 6378137.0;
constexpr double kInfinity = HUGE_VAL;
const double kNaN = std::nan("");

std::mt19937_64 random64(1);

double between(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random64);
}

Point randomPoint(double maxLatitude) {
    return {between(-maxLatitude, maxLatitude), between(-180, 180)};
}

/// Halves a range by every second bit of a code, which is exact in a double.
double bisect(std::uint64_t code, int firstBit, double low, double high) {
    for (int bit = firstBit; bit >= 0; bit -= 2) {
        ((code >> bit & 1U) != 0 ? low : high) = (low + high) / 2;
    }
    return low;
}

// With all 128 bits the eastern corner of the world rounds to 180, the northern one stays below 90.
static_assert(qorvel_detail::decodeInterleaved(UINT64_MAX, UINT64_MAX).longitude == 180);
static_assert(qorvel_detail::decodeInterleaved(UINT64_MAX, UINT64_MAX).latitude < 90);

TEST(Points, CodesBisectTheEarth) {
    for (int i = 0; i < 20000; ++i) {
        const std::uint64_t code = i < 64 ? std::uint64_t{1} << i : ~(random64() >> i % 64);
        const PointGeodetic64 point(code);
        ASSERT_EQ(point.getLongitude(), bisect(code, 63, -180, 180)) << code;
        ASSERT_EQ(point.getLatitude(), bisect(code, 62, -90, 90)) << code;
        const PointGeodetic32 shorter(static_cast<std::uint32_t>(code >> 32));
        ASSERT_TRUE(point.isValid() && shorter.within(PointGeodetic64(code >> 32 << 32))) << code;
    }
    EXPECT_EQ(PointGeodetic64(UINT64_MAX).getLatitude(), 90 * (1 - 0x1p-31));
}

TEST(Points, ValidityAndContainment) {
    const double past90 = std::nextafter(90, 91);
    const double past180 = std::nextafter(180, 181);
    for (const Point& p : {Point(90, -180), Point(-90, 180), Point(-0.0, 5e-324)}) {
        EXPECT_TRUE(p.isValid() && p.contains(p)) << p.toString();
    }
    for (const Point& p :
         {Point(past90, 0), Point(-past90, 0), Point(0, past180), Point(0, -past180),
          Point(kNaN, 0), Point(0, kNaN), Point(0, kInfinity)}) {
        EXPECT_FALSE(p.isValid()) << p.toString();
        EXPECT_EQ(p.contains(p), std::isfinite(p.getLatitude() + p.getLongitude())) << p.toString();
    }
    for (const double off : {1e-15, -1e-15}) {
        EXPECT_FALSE(Point(0, 0).contains(Point(off, 0)) || Point(0, 0).contains(Point(0, off)));
    }
    EXPECT_FALSE(Point(0, 180).contains(Point(0, -180)));
}

template <class Action>
void expectRefusal(const char* what, const IGeometry& a, const IGeometry& b, Action action) {
    try {
        action();
        ADD_FAILURE() << "nothing thrown";
    } catch (const STException& error) {
        EXPECT_EQ(std::string(STException(error).what()),
                  std::string(what) + " on geometries of type " + typeid(a).name() + " and " +
                      typeid(b).name());
    }
}

/// A host's own class links to more of the library's points than a call does.
struct NamedPoint : PointGeodetic128 {
    NamedPoint(double latitude, double longitude) : PointGeodetic128(latitude, longitude) {}
    std::string toString() const override { return "here" + PointGeodetic128::toString(); }
};

struct DecimalComma : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
};

TEST(Points, ClonesBoxesAndRefusals) {
    const NamedPoint named = NamedPoint(NamedPoint(1.5, -2.25));
    EXPECT_EQ(static_cast<const IGeometry&>(named).toString(), "here : lat=1.5 , long=-2.25\n");
    const PointGeodetic64 p64(UINT64_MAX);
    const PointGeodetic32 p32(7);
    const Point p128(1.5, -2.25);
    const std::locale before = std::locale::global(std::locale(std::locale(), new DecimalComma));
    EXPECT_EQ(p128.toString(), " : lat=1.5 , long=-2.25\n");
    std::locale::global(before);
    EXPECT_EQ(Point(100.0 / 3, 1e-7).toString(), " : lat=33.3333333333333 , long=1e-07\n");
    const AbstractPointGeodetic* const points[] = {&p64, &p32, &p128};
    for (const AbstractPointGeodetic* point : points) {
        const std::unique_ptr<IGeometry> clone(point->clone());
        IGeometry* const p = clone.get();
        EXPECT_TRUE(typeid(*p) == typeid(*point) && p->contains(*point)) << p->toString();
        const std::unique_ptr<BoundingBox> first(p->getBoundingBox());
        const std::unique_ptr<BoundingBox> box(first->getBoundingBox());
        EXPECT_EQ(box->toString(),
                  "Lower Corner ::{" + p->toString() + "}; Upper Corner ::{" + p->toString() + "}");
        expectRefusal("Unsupported merge", *p, *box, [&] { p->merge(*box); });
        expectRefusal("Unsupported merge", *box, *p, [&] { box->merge(*p); });
        expectRefusal("Unsupported contain", *p, *box, [&] { p->contains(*box); });
        expectRefusal("Unsupported contain", *box, *p, [&] { p->within(*box); });
    }
    EXPECT_EQ(BoundingBox(p128, Point(3, 4)).toString(),
              "Lower Corner ::{" + p128.toString() + "}; Upper Corner ::{ : lat=3 , long=4\n}");
    EXPECT_TRUE(BoundingBox(p128, Point(3, 4)).getUpperCorner().contains(Point(3, 4)));
    EXPECT_FALSE(BoundingBox(p128, Point(91, 0)).isValid() ||
                 BoundingBox(Point(0, 181), p128).isValid());
}

TEST(Ellipsoids, AxesInEitherOrder) {
    for (const Ellipsoid& e : {Ellipsoid(5, 4), Ellipsoid(4, 5)}) {
        EXPECT_TRUE(e.semiMajorAxis == 5 && e.semiMinorAxis == 4 && e.meanRadius == 4.5);
        EXPECT_TRUE(e.sphereRadius == 5 && e.flattening == 0.2 && e.eccentricity == 0.6);
        EXPECT_EQ(e.linearEccentricity, 3);
    }
}

const SpheroidalMetric sphere;
const VincentyEllipsoidalMetric vincenty;
const EuclideanMetricSpheroid spherePlane(40, 20);
const VarnokEuclideanMetricEllipsoid ellipsoidPlane(40, 20);
const IMetric* const kMetrics[] = {&sphere, &vincenty, &spherePlane, &ellipsoidPlane};

TEST(Metrics, CompassAndCoincidence) {
    const Point centre(40, 20);
    const Point around[] = {{40.01, 20}, {40, 20.01}, {39.99, 20}, {40, 19.99}};
    for (const IMetric* metric : kMetrics) {
        for (int quarter = 0; quarter < 4; ++quarter) {
            const Point& p = around[quarter];
            EXPECT_NEAR(metric->azimuth(centre, p), quarter * kPi / 2, 1e-4);
            const double metres = metric->distance(centre, p);
            EXPECT_NEAR(metres, sphere.distance(centre, p), 0.007 * metres);
            EXPECT_NEAR(metric->distance(p, centre), metres, 1e-6);
        }
        EXPECT_EQ(metric->distance(centre, centre) + metric->azimuth(centre, centre), 0);
    }
}

TEST(Spheroidal, HaversineUpToTenKilometres) {
    double worstAbove = 0;
    for (int centimetres = 990000; centimetres < 1010000; centimetres += 7) {
        const double metres = centimetres / 100.0;
        const double found = sphere.distance(Point(0, 0), Point(metres / kRadius * 180 / kPi, 0));
        const double error = std::abs(found - metres);
        ASSERT_LT(error, metres <= 10000 ? 1e-8 : 1e-5) << metres;
        worstAbove = std::max(worstAbove, metres > 10000 ? error : 0);
    }
    EXPECT_GT(worstAbove, 1e-8); // the cosine law cannot do better
    double north = 10000 / kRadius * 180 / kPi * (1 - 1e-14);
    while (sphere.distance(Point(0, 0), Point(north, 0)) < 10000) {
        north = std::nextafter(north, 1);
    }
    EXPECT_EQ(sphere.distance(Point(0, 0), Point(north, 0)), 10000) << "still haversine";
    EXPECT_NEAR(sphere.distance(Point(0, 170), Point(0, -100)), kRadius * kPi / 2, 1e-6);
    EXPECT_NEAR(sphere.distance(Point(90, 0), Point(-90, 50)), kRadius * kPi, 1e-6);
}

TEST(Vincenty, KnownGeodesics) {
    // The meridian from 0 to 45 degrees is 4984944.377978 m. The inverse problem falls 0.6 mm short
    // through its last coefficient; the direct problem has it right.
    const double rows[][6] = {
        {0, 0, 0, 10, kRadius * kPi / 18, 90},
        {0, 33, 90, 33, 10001965.729313, 0},
        {0, 0, 45, 0, 4984944.377376, 0},
        {-37.951033416, 144.424867889, -37.652821139, 143.926495528, 54972.2711, 306.868159}};
    for (const auto& [lat1, lon1, lat2, lon2, metres, degrees] : rows) {
        EXPECT_NEAR(vincenty.distance(Point(lat1, lon1), Point(lat2, lon2)), metres, 1e-4);
        EXPECT_NEAR(vincenty.azimuth(Point(lat1, lon1), Point(lat2, lon2)), degrees * kPi / 180,
                    1e-8);
    }
    EXPECT_NEAR(PointHandle(vincenty.destination(Point(0, 7), 0, 4984944.377978))->getLatitude(),
                45, 1e-10);
    EXPECT_NEAR(vincenty.azimuth(Point(1e-9, 0), Point(1e-9, 90)), kPi / 2, 1e-8); // over a zero
    for (const Point& antipode : {Point(0, 180), Point(0.5, 179.7), Point(-1e-9, -179.999)}) {
        EXPECT_NEAR(vincenty.distance(Point(0, 0), antipode), 2e7, 2e5) << antipode.toString();
    }
}

TEST(Metrics, DestinationsAreThere) {
    double worst = 0;
    for (int i = 0; i < 20000; ++i) {
        const Point start = randomPoint(85);
        const double azimuth = between(0, 2 * kPi);
        const double metres = between(1, 1.5e7);
        for (const IMetric* metric : {kMetrics[0], kMetrics[1]}) {
            const PointHandle end(metric->destination(start, azimuth, metres));
            ASSERT_TRUE(end->isValid()) << end->toString();
            const double error = std::abs(metric->distance(start, *end) - metres);
            ASSERT_LT(error, metric == &sphere ? 1e-5 : 0.1);
            const double turn = metric->azimuth(start, *end) - azimuth;
            ASSERT_NEAR(std::remainder(turn, 2 * kPi) * metres, 0, 0.5);
            worst = std::max(worst, error);
        }
    }
    EXPECT_GT(worst, 0.03); // the direct problem stops early
    EXPECT_EQ(PointHandle(sphere.destination(Point(0, 180), 0, 1000))->getLongitude(), 180);
    // The length of this arc would swing between two neighbouring numbers for ever.
    const Point start(-76.09463954798332, 0);
    EXPECT_TRUE(
        PointHandle(vincenty.destination(start, 4.059635940320608, 1.0761588211222525e+18)));
}

template <class Plane>
void checkPlane(int number, const IMetric& exact) {
    const Plane equator(0, 20);
    const Plane north(45, -10);
    for (int i = 0; i < 2000; ++i) {
        const Point p(between(-70, 70), between(-159, 179));
        ASSERT_NEAR(equator.toLatitude(equator.toY(p)), p.getLatitude(), 1.5e-10); // of the series
        ASSERT_NEAR(equator.toLongitude(equator.toX(p)), p.getLongitude(), 1e-9);
        const PointHandle q(exact.destination(p, between(0, 7), 100));
        ASSERT_NEAR(distanceByMetric(number, p, *q), 100, 0.01) << p.toString();
        ASSERT_EQ(distanceByMetric(number, p, *q),
                  Plane(p.getLatitude(), p.getLongitude()).distance(p, *q));
    }
    EXPECT_EQ(north.toX(Point(0, 180)), -north.toX(Point(0, 160))); // 190 degrees east are 170 west
    EXPECT_EQ(north.toX(Point(0, -190.5)), -north.toX(Point(0, -189.5)));
    EXPECT_GT(north.toX(Point(0, 170)), north.toX(Point(0, -190))); // half a turn stays
    EXPECT_NEAR(north.toLongitude(north.toX(Point(0, 170)) * 1.1), -172, 1e-9);
    EXPECT_EQ(Plane(0, 180).toLongitude(0), 180);
    EXPECT_EQ(north.toLatitude(0), 45);
    EXPECT_NEAR(north.toLatitude(north.toY(Point(45.5, 0))), 45.71, 0.01); // only added to
    const PointHandle end(equator.destination(Point(3, 21), kPi / 6, 1000));
    EXPECT_NEAR(equator.distance(Point(3, 21), *end), 1000, 1e-4);
    EXPECT_NEAR(equator.azimuth(Point(3, 21), *end), kPi / 6, 1e-7);
}

TEST(Metrics, PlanesAndNumbers) {
    checkPlane<EuclideanMetricEllipsoid>(0, vincenty);
    checkPlane<EuclideanMetricSpheroid>(1, sphere);
    const Point p(48, 11);
    const Point q(49, 12.5);
    EXPECT_EQ(distanceByMetric(2, p, q), sphere.distance(p, q));
    for (const std::int32_t number : {3, -1, 100, INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(distanceByMetric(number, p, q), vincenty.distance(p, q));
    }
    double x = 0;
    double y = 0;
    EXPECT_EQ(ellipsoidPlane.distanceAndProjection(p, q, x, y), ellipsoidPlane.distance(p, q));
    EXPECT_TRUE(x == ellipsoidPlane.toX(q) && y == ellipsoidPlane.toY(q));
}

TEST(Metrics, AnyInputHasAnAnswer) {
    const double pool[] = {0, -0.0, 90, -90, 180, -180, 360, 5e-324, 1e18, -1e308, kNaN, kInfinity};
    const auto pick = [&pool] { return pool[random64() % std::size(pool)]; };
    for (int i = 0; i < 20000; ++i) {
        const Point p(pick(), pick());
        const Point q(pick(), pick());
        for (const IMetric* metric : kMetrics) {
            ASSERT_FALSE(metric->distance(p, q) < 0) << p.toString() << q.toString();
            const double azimuth = metric->azimuth(p, q);
            ASSERT_FALSE(azimuth < 0 || azimuth > 2 * kPi) << p.toString() << q.toString();
            const PointHandle end(metric->destination(p, pick(), std::pow(10, between(-5, 25))));
        }
    }
}

// A constant expression has no undefined behaviour: the extremes wrap.
static_assert(qorvel_detail::daysFromCivil(INT64_MIN, INT64_MIN) !=
              qorvel_detail::daysFromCivil(INT64_MAX, INT64_MAX));
static_assert(qorvel_detail::civilFromDays(INT64_MIN).day > 0 &&
              qorvel_detail::civilFromDays(INT64_MAX).day > 0);

TEST(Calendar, EveryDayAndEveryCarry) {
    for (int day = -800000; day <= 800000; ++day) {
        const auto [year, month, dayOfMonth] = qorvel_detail::civilFromDays(day);
        const std::chrono::sys_days back =
            std::chrono::year{static_cast<int>(year)} / (month + 1) / dayOfMonth;
        ASSERT_EQ(back.time_since_epoch().count(), day);
        ASSERT_EQ(qorvel_detail::daysFromCivil(year, month) + dayOfMonth - 1, day);
    }
    for (int i = 0; i < 200000; ++i) {
        const auto year = static_cast<std::int64_t>(random64()) >> (12 + i % 50);
        const auto carry = static_cast<std::int64_t>(random64()) >> (18 + i % 40);
        const std::int64_t first = qorvel_detail::daysFromCivil(year, i % 12);
        const qorvel_detail::CivilDate date = qorvel_detail::civilFromDays(first);
        ASSERT_TRUE(date.year == year && date.month == i % 12 && date.day == 1) << year;
        ASSERT_EQ(qorvel_detail::daysFromCivil(year - carry, i % 12 + 12 * carry), first) << carry;
    }
}

} // namespace
