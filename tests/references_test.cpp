// What others have computed: published geohashes and geodesics from the folder that
// QORVEL_TEST_DATA names, and GeographicLib where it is installed.

#include "qorvel/qorvel.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <numbers>
#include <random>
#include <zlib.h>
#ifdef QORVEL_TEST_GEOGRAPHICLIB
#include <GeographicLib/Geodesic.hpp>
#endif

namespace {

using Point = PointGeodetic128;

constexpr double kMajor = 6378137.0;
constexpr double kMinor = 6356752.314245;
constexpr double kHalfTurn = std::numbers::pi;
constexpr double kRadian = kHalfTurn / 180;

constexpr char kNoData[] = "QORVEL_TEST_DATA names no folder";

const SpheroidalMetric sphere;
const VincentyEllipsoidalMetric vincenty;

/// The folder of the published data, with a slash at its end; empty where there is none.
std::string dataFolder() {
    const char* const folder = std::getenv("QORVEL_TEST_DATA");
    return folder == nullptr ? "" : std::string(folder) + '/';
}

TEST(References, PublishedGeohashes) {
    if (dataFolder().empty()) {
        GTEST_SKIP() << kNoData;
    }
    std::ifstream file(dataFolder() + "geohash_vectors.csv");
    std::string text;
    std::getline(file, text);
    double lat = 0;
    double lon = 0;
    char comma = 0;
    while (file >> lat >> comma >> lon >> comma >> text) {
        const SpaceBox box(lat, lon, static_cast<std::uint32_t>(5 * text.size()));
        ASSERT_TRUE(box.toASCIIString() == text && SpaceBox(text) == box) << text;
    }
    EXPECT_TRUE(file.eof() && comma == ',') << dataFolder();
}

/// Degrees, metres, and the azimuth in radians.
struct Geodesic {
    double lat1, lon1, lat2, lon2, metres, azimuth;
};

/// How much longer Vincenty's inverse problem would be with the last coefficient of B, whose sign
/// it has turned, as the direct problem has it. By the start and the length of the geodesic.
double effectOfLastCoefficient(const Geodesic& g) {
    const double u = std::atan(kMinor / kMajor * std::tan(g.lat1 * kRadian));
    const double cosSqAlpha = 1 - std::pow(std::cos(u) * std::sin(g.azimuth), 2);
    const double uSq = cosSqAlpha * (kMajor * kMajor / kMinor / kMinor - 1);
    const double sigma1 = std::atan2(std::tan(u), std::cos(g.azimuth));
    const double sigma = g.metres / (kMinor * (1 + uSq / 4));
    return kMinor * 94 * std::pow(uSq, 4) / 1024 * std::sin(sigma) * std::cos(2 * sigma1 + sigma);
}

/// Holds the metrics against a geodesic. Counts it where Vincenty's inverse does not converge,
/// which is near the antipode only.
void check(const Geodesic& g, int& unconverged) {
    const Point from(g.lat1, g.lon1);
    const Point to(g.lat2, g.lon2);
    const std::unique_ptr<Point> end(vincenty.destination(from, g.azimuth, g.metres));
    ASSERT_LT(sphere.distance(*end, to), 0.1) << "the direct problem stops early";
    const double arc = sphere.distance(from, to);
    // From the radius of curvature along the meridian at a pole to the one at the equator.
    ASSERT_GT(arc, g.metres * kMinor / kMajor);
    ASSERT_LT(arc, g.metres * std::pow(kMajor / kMinor, 2));

    const bool isNearlyAntipodal = kHalfTurn - arc / kMajor < 0.65 * kRadian;
    const double error = vincenty.distance(from, to) - g.metres;
    if (std::abs(error + effectOfLastCoefficient(g)) < 1e-4) {
        const double turn = std::remainder(vincenty.azimuth(from, to) - g.azimuth, 2 * kHalfTurn);
        const double aside = turn * kMajor * std::sin(g.metres / kMajor);
        ASSERT_LT(std::abs(error), 1.3e-3);
        ASSERT_TRUE(isNearlyAntipodal || std::abs(aside) < 1e-3) << aside;
    } else {
        ++unconverged;
        ASSERT_TRUE(isNearlyAntipodal && std::abs(error) < 2e5) << error;
    }
}

/// The geodesic and its mirror images in the other quadrants.
void checkMirrored(const Geodesic& g, int& unconverged) {
    const auto& [lat1, lon1, lat2, lon2, metres, azimuth] = g;
    check(g, unconverged);
    check({-lat1, lon1, -lat2, lon2, metres, kHalfTurn - azimuth}, unconverged);
    check({lat1, -lon1, lat2, -lon2, metres, -azimuth}, unconverged);
    check({-lat1, -lon1, -lat2, -lon2, metres, kHalfTurn + azimuth}, unconverged);
}

TEST(References, PublishedGeodesics) {
    if (dataFolder().empty()) {
        GTEST_SKIP() << kNoData;
    }
    const gzFile file = gzopen((dataFolder() + "geod_test.csv.gz").c_str(), "rb");
    ASSERT_NE(file, nullptr) << dataFolder();
    int unconverged = 0;
    int rows = 0;
    char line[500];
    gzgets(file, line, sizeof line);
    while (!HasFailure() && gzgets(file, line, sizeof line) != nullptr) {
        Geodesic g{};
        ASSERT_EQ(std::sscanf(line, "%lf,%lf,%lf,%lf,%lf,%lf", &g.lat1, &g.lon1, &g.lat2, &g.lon2,
                              &g.metres, &g.azimuth),
                  6);
        g.azimuth *= kRadian;
        checkMirrored(g, unconverged);
        ++rows;
    }
    gzclose(file);
    EXPECT_EQ(rows, 5000);
    EXPECT_LE(unconverged, 4 * 860);
}

TEST(GeographicLib, AgreesOnRandomGeodesics) {
#ifdef QORVEL_TEST_GEOGRAPHICLIB
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> degrees(-90, 90);
    const GeographicLib::Geodesic wgs84(kMajor, 1 / 298.257223563);
    int unconverged = 0;
    for (int i = 0; i < 50000 && !HasFailure(); ++i) {
        Geodesic g = {
            degrees(random), 2 * degrees(random), degrees(random), 2 * degrees(random), 0, 0};
        double azimuth2 = 0;
        wgs84.Inverse(g.lat1, g.lon1, g.lat2, g.lon2, g.metres, g.azimuth, azimuth2);
        g.azimuth *= kRadian;
        check(g, unconverged);
    }
    EXPECT_LT(unconverged, 10);
#else
    GTEST_SKIP() << "built without GeographicLib";
#endif
}

} // namespace
