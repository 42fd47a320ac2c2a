// Points, boxes around them, ellipsoids, and every metric: distances, azimuths, destinations.

#include "Bytes.h"
#include "law.h"

#include "qorvel/qorvel.h"

#include <memory>
#include <numbers>
#include <typeinfo>

namespace {

using Point = PointGeodetic128;

constexpr double kTwoPi = 2 * std::numbers::pi;
constexpr double kFar = 1.8e7; // metres; farther, the inverse problem need not converge

bool samePlace(const IPoint& left, const IPoint& right) {
    return same(left.getLatitude(), right.getLatitude()) &&
           same(left.getLongitude(), right.getLongitude());
}

bool isOnEarth(const IPoint& p) {
    return std::abs(p.getLatitude()) <= 90.0 && std::abs(p.getLongitude()) <= 180.0;
}

/// What a refused operation says.
template <class Operation>
std::string refusalOf(Operation operation) {
    try {
        operation();
        return "done";
    } catch (const STException& refusal) {
        return STException(refusal).what();
    }
}

void fuzzPoint(AbstractPointGeodetic& point, const IPoint& other) {
    LAW(!isOnEarth(point) || point.contains(other) == samePlace(point, other));
    LAW(other.within(point) == point.contains(other) && point.isValid() == isOnEarth(point));
    const std::unique_ptr<AbstractPointGeodetic> clone(point.clone());
    LAW(samePlace(*clone, point) && clone->toString() == point.toString());

    const std::unique_ptr<BoundingBox> first(point.getBoundingBox());
    const std::unique_ptr<BoundingBox> second(first->getBoundingBox());
    const std::unique_ptr<BoundingBox> box(second->clone());
    LAW(samePlace(box->getLowerCorner(), point) && samePlace(box->getUpperCorner(), point));
    LAW(box->isValid() == point.isValid() && !box->toString().empty());
    const std::string pointType = typeid(point).name();
    const std::string boxType = typeid(BoundingBox).name();
    const std::string contain = "Unsupported contain on geometries of type ";
    LAW(refusalOf([&] { point.contains(*box); }) == contain + pointType + " and " + boxType);
    LAW(refusalOf([&] { point.within(*box); }) == contain + boxType + " and " + pointType);
    LAW(refusalOf([&] { box->merge(other); }).find("Unsupported merge on") == 0);
    LAW(refusalOf([&] { point.merge(other); }).find("Unsupported merge on") == 0);
}

/// As far as was told, within a metre. Along the equator the ellipsoid's distance can be no number:
/// what its formulae divide by is rounding there.
void fuzzTravel(const IMetric& metric, const IPoint& from, double azimuth, double distance) {
    const std::unique_ptr<Point> reached(metric.destination(from, azimuth, distance));
    const double there = metric.distance(from, *reached);
    LAW(!(there < 0.0));
    if (isOnEarth(from) && std::abs(azimuth) <= kTwoPi && distance >= 0.0 && distance <= kFar) {
        const double latitude =
            std::max(std::abs(from.getLatitude()), std::abs(reached->getLatitude()));
        LAW(latitude <= 90.0 + 1e-9 && std::abs(reached->getLongitude()) <= 180.0 + 1e-9);
        LAW(near(there, distance, 1.0) || (std::isnan(there) && latitude < 1e-5));
    }
}

void fuzzMetric(const IMetric& metric, const IPoint& from, const IPoint& to, double expected) {
    const double azimuth = metric.azimuth(from, to);
    LAW(std::isnan(azimuth) || (azimuth >= 0.0 && azimuth <= kTwoPi));
    LAW(same(metric.distance(from, to), expected));
    LAW(std::unique_ptr<Point>(metric.destination(from, azimuth, expected)) != nullptr);
}

void fuzzPlane(const EuclideanMetric& metric, const IPoint& p) {
    if (isOnEarth(p) && std::abs(p.getLatitude()) < 80.0) { // anchored at 0, 0
        LAW(near(metric.toLatitude(metric.toY(p)), p.getLatitude(), 1e-9));
        LAW(near(std::remainder(metric.toLongitude(metric.toX(p)) - p.getLongitude(), 360.0), 0.0,
                 1e-9));
    }
}

void fuzzEllipsoid(double axis, double other) {
    const Ellipsoid left(axis, other);
    const Ellipsoid right(other, axis);
    LAW(axis != other || !(std::abs(left.flattening) > 0.0));
    LAW(std::isnan(axis + other) || same(left.semiMinorAxis, right.semiMinorAxis));
    LAW(std::isnan(axis + other) || same(left.eccentricity, right.eccentricity));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Bytes bytes(data, size);
    Point from{bytes.number(90.0), bytes.number(180.0)};
    const Point to{bytes.pick({from.getLatitude(), -from.getLatitude(), bytes.number(90.0)}),
                   bytes.pick({from.getLongitude(), bytes.number(180.0)})};
    const double azimuth = bytes.number(kTwoPi);
    const double distance = bytes.number(kFar);
    PointGeodetic32 coarse(bytes.whole<std::uint32_t>());
    PointGeodetic64 fine(bytes.whole<std::uint64_t>());
    fuzzPoint(from, to);
    fuzzPoint(coarse, to);
    fuzzPoint(fine, coarse);

    const VarnokEuclideanMetricEllipsoid oblate(from.getLatitude(), from.getLongitude());
    const EuclideanMetricSpheroid plane(from.getLatitude(), from.getLongitude());
    const SpheroidalMetric sphere;
    const VincentyEllipsoidalMetric ellipsoid;
    double x = 0.0;
    double y = 0.0;
    fuzzMetric(oblate, from, to, oblate.distanceAndProjection(from, to, x, y));
    LAW(same(x, oblate.toX(to)) && same(y, oblate.toY(to)));
    std::int32_t number = 0;
    for (const IMetric* metric :
         {static_cast<const IMetric*>(&oblate), static_cast<const IMetric*>(&plane),
          static_cast<const IMetric*>(&sphere), static_cast<const IMetric*>(&ellipsoid)}) {
        fuzzMetric(*metric, from, to, distanceByMetric(number++, from, to));
    }
    fuzzTravel(sphere, from, azimuth, distance);
    fuzzTravel(ellipsoid, from, azimuth, distance);
    fuzzPlane(EuclideanMetricSpheroid(0.0, 0.0), from);
    fuzzPlane(EuclideanMetricEllipsoid(0.0, 0.0), from);
    fuzzEllipsoid(bytes.number(1e7), distance);
    return 0;
}
