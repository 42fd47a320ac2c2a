#include "qorvel/base/decode.h"
#include "qorvel/geohash/detail/Cell.h"
#include "qorvel/geohash/detail/Parallel.h"
#include "qorvel/qorvel.h"

#include <algorithm>
#include <bitset>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <numbers>
#include <random>

QORVEL_BEGIN_NAMESPACE

struct UtilG2TestAccess {
    static constexpr auto encode = &UtilG2::doubleToI64;
    static constexpr auto decode = &UtilG2::i64ToDouble;
    static constexpr auto edges = &UtilG2::distance;
    static constexpr auto bits = &UtilG2::getNumBits;
};

QORVEL_END_NAMESPACE

namespace {

using Access = UtilG2TestAccess;
using Long = long double; // holds every code

constexpr double kMeridian = std::numbers::pi * 6378137.0; // metres from pole to pole
constexpr double kInfinity = HUGE_VAL;
constexpr double kBelow90 = 89.99999999999999;
constexpr double kBelow180 = 179.99999999999997;
constexpr std::uint64_t kTop = std::uint64_t{1} << 63;
constexpr std::uint32_t kUnparsable = UINT32_MAX;
const double kNaN = std::nan("");
const std::string kAlphabet = "0123456789bcdefghjkmnpqrstuvwxyz";
const std::string kCapitals = "0123456789BCDEFGHJKMNPQRSTUVWXYZ";

std::mt19937_64 random64(1);

double between(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random64);
}

/// Metres around the earth at a latitude.
double parallel(double lat) {
    return 2 * kMeridian * std::cos(lat * std::numbers::pi / 180.0);
}

std::uint64_t encode(double x) {
    std::uint64_t code = 1;
    EXPECT_TRUE(Access::encode(x, code)) << x;
    return code;
}

std::string bitsOf(const SpaceBox& box) {
    return std::bitset<64>(box.getFirst64Bits()).to_string() +
           std::bitset<64>(box.getSecond64Bits()).to_string();
}

/// All that a box holds, the bits beyond its depth included.
std::string contents(const SpaceBox& box) {
    return bitsOf(box) + " at " + std::to_string(box.getGeoHashBitDepth());
}

SpaceBox boxOf(std::string bits, std::uint32_t depth) {
    bits.resize(128, '0');
    const auto word = [&](std::size_t from) -> std::uint64_t {
        return std::bitset<64>(bits, from, 64).to_ullong();
    };
    return SpaceBox(word(0), word(64), depth);
}

/// The bits of two codes in turn, the longitude's first.
SpaceBox boxOfCodes(std::uint64_t latitude, std::uint64_t longitude, std::uint32_t depth) {
    std::string bits;
    for (std::uint32_t i = 0; i < 128; ++i) {
        bits += ((i % 2 == 0 ? longitude : latitude) >> (63 - i / 2) & 1U) != 0 ? '1' : '0';
    }
    return boxOf(bits, depth);
}

TEST(FixedPoint, EncodingIsExactTruncation) {
    for (const double x : {0.0, -0.0, 5e-324, -2.2e-308}) {
        EXPECT_EQ(encode(x), kTop) << x;
    }
    for (const double x : {1.0, std::nextafter(-1, -2), kInfinity, -kInfinity, kNaN}) {
        std::uint64_t code = 1;
        EXPECT_EQ(Access::encode(x, code), std::isnan(x)) << x;
        EXPECT_EQ(code, 0U) << x;
    }
    for (int exponent = 0; exponent > -1022; --exponent) {
        const double fraction = between(0.5, 1);
        const double x = std::ldexp(fraction, exponent);
        const auto exact = static_cast<std::uint64_t>(std::ldexp(x, 63));
        const auto significand = static_cast<std::uint64_t>(std::ldexp(fraction, 53));
        // The smallest numbers are shifted too far, which shifts them by less.
        const std::uint64_t t = exponent > -74 ? exact : significand >> ((-10 - exponent) % 64);
        ASSERT_TRUE(encode(x) == kTop + t && encode(-x) == kTop - t) << x;
    }
}

TEST(FixedPoint, DecodingTruncatesTowardZero) {
    for (int i = 0; i < 50000; ++i) {
        const std::uint64_t distance = i == 0 ? 0 : random64() >> (1 + i % 63);
        double east = 7;
        double west = 7;
        ASSERT_TRUE(Access::decode(kTop + distance, east) && Access::decode(kTop - distance, west));
        const Long exact = std::ldexp(static_cast<Long>(distance), -63);
        ASSERT_TRUE(east == -west && static_cast<Long>(east) <= exact) << distance;
        ASSERT_GT(static_cast<Long>(std::nextafter(east, 2)), exact) << distance;
    }
}

/// Near the middle of the world and far from it, for cells of every size.
TEST(FixedPoint, EndsOfCellsAreThoseOfTheirCodes) {
    const auto check = [](std::uint32_t counted, std::uint64_t code) {
        const qorvel_detail::CellSide side(counted);
        const qorvel_detail::CellSide::Ends ends = side.ends(code);
        ASSERT_EQ(ends.first, qorvel_detail::codeToFraction(code & ~side.rest)) << code;
        ASSERT_EQ(ends.last, qorvel_detail::codeToFraction(code | side.rest)) << code;
    };
    for (std::uint32_t counted = 0; counted <= 64; ++counted) {
        for (std::uint32_t bit = 0; bit < 64; ++bit) {
            const std::uint64_t away = std::uint64_t{1} << bit;
            for (const std::uint64_t code : {away - 1, away, away + 1, away * 3, random64()}) {
                check(counted, qorvel_detail::kZeroCode + code);
                check(counted, qorvel_detail::kZeroCode - code);
                check(counted, code);
                check(counted, ~code);
            }
        }
    }
}

TEST(Points, CellsAndRanges) {
    const std::tuple<double, double, const char*> rows[] = {
        {57.64911, 10.40744, "u4pruydqqvj8"},
        {0, 0, "s0000000000000000000000000"},
        {-1e-9, -1e-9, "7zzzzzz"},
        {-90, -180, "00000"},
        {kBelow90, kBelow180, "zzzzzzzzz"},
        {kNaN, kNaN, "00000"},
        {90, 0, ""}, // no cell holds this and the following
        {0, 180, ""},
        {std::nextafter(-90, -91), 0, ""},
        {0, std::nextafter(-180, -181), ""},
        {-kInfinity, kInfinity, ""}};
    for (const auto& [lat, lon, text] : rows) {
        const auto depth = static_cast<std::uint32_t>(5 * std::strlen(text));
        const bool fits = depth > 0;
        SpaceBox boxes[9] = {boxOf("1", 3)};
        std::uint32_t count = 42;
        EXPECT_EQ(SpaceBox(lat, lon, depth).toASCIIString(), text);
        EXPECT_EQ(UtilG2::pointToSpaceBox(lat, lon, boxes[0]), fits) << lat << " " << lon;
        EXPECT_EQ(contents(boxes[0]) == contents(boxOf("1", 3)), !fits) << lat << " " << lon;
        EXPECT_EQ(UtilG2::pointToSpaceBoxes(lat, lon, depth, 0, boxes, count), fits);
        EXPECT_TRUE(SpaceBox::getNearSpaceBoxes(lat, lon, depth, 0, boxes, count));
        EXPECT_EQ(count, fits ? 1U : 42U) << lat << " " << lon;
    }
}

/// Reads text bit by bit. A middle length loses the second word.
SpaceBox parse(const std::string& text) {
    const auto depth = static_cast<std::uint32_t>(5 * text.size());
    std::string bits;
    for (const char c : text.substr(0, text.size() > 26 ? 0 : text.find('\0'))) {
        const std::size_t value = std::min(kAlphabet.find(c), kCapitals.find(c));
        if (value == std::string::npos) {
            return boxOf("", kUnparsable);
        }
        bits += std::bitset<5>(value).to_string();
    }
    bits.resize(text.size() >= 13 && text.size() <= 22 ? 64 : 128, '0');
    return boxOf(bits, depth);
}

void checkParsing(const std::string& text) {
    const SpaceBox expected = parse(text);
    SpaceBox box = boxOf("11", 9);
    const bool ok = text.size() <= 26 && expected.getGeoHashBitDepth() != kUnparsable;
    ASSERT_EQ(UtilG2::stringToSpaceBox(text, box), ok) << testing::PrintToString(text);
    ASSERT_EQ(contents(box), contents(expected)) << testing::PrintToString(text);
}

// No text is so long that its depth is that of a cell again.
static_assert(qorvel_detail::depthOfText(858993460) == UINT32_MAX);
static_assert(qorvel_detail::depthOfText(SIZE_MAX) == UINT32_MAX);

TEST(Text, EveryByteAtEveryPlace) {
    for (std::size_t place = 0; place < 30 * 30; ++place) {
        std::string text(place / 30, '0');
        std::generate(text.begin(), text.end(), [] { return kAlphabet[random64() % 32]; });
        for (int byte = 0; byte < 256 && place % 30 < text.size(); ++byte) {
            text[place % 30] = static_cast<char>(byte);
            checkParsing(text);
        }
    }
    checkParsing("");
    checkParsing(std::string("u4\0a!", 5)); // behind a NUL byte nothing is looked at
}

TEST(Text, RoundTripsWhereNothingIsLost) {
    for (std::size_t n = 0; n <= 25; ++n) {
        const std::string text(n, 'z');
        EXPECT_EQ(SpaceBox(text).toASCIIString() == text, n < 13 || n > 22) << n;
    }
}

/// Does a bit, counted from 1, count at this depth? Above 128 as wrapping shifts have it.
bool counts(std::uint32_t bit, std::uint32_t depth) {
    return bit <= (depth <= 64 ? depth : 128 - (128 - depth) % 64);
}

void checkDepth(std::uint32_t depth) {
    const SpaceBox box(random64(), random64(), depth);
    for (std::uint32_t bit = 1; bit <= 128; ++bit) {
        std::string bits = bitsOf(box);
        bits[bit - 1] ^= 1; // '0' and '1' change places
        const bool equal = !counts(bit, depth);
        ASSERT_EQ(box == boxOf(bits, depth), equal) << depth << " " << bit;
        ASSERT_EQ(boxOf(bits, 7).equals(box, depth), equal) << depth << " " << bit;
        ASSERT_EQ(box.hashCode() == boxOf(bits, depth).hashCode(), equal) << depth << " " << bit;
    }
    SpaceBox deeper = box;
    deeper.setGeoHashBitDepth(depth + 1);
    EXPECT_TRUE(bitsOf(deeper) == bitsOf(box) && !(deeper == box)) << depth;

    const std::size_t kept = std::min(depth, 128U);
    std::string bits = bitsOf(box).substr(0, kept);
    std::string text;
    for (bits.resize((kept + 4) / 5 * 5, '0'); text.size() < bits.size() / 5;) {
        text += kAlphabet[std::bitset<5>(bits, 5 * text.size(), 5).to_ulong()];
    }
    EXPECT_EQ(box.toASCIIString(), text) << depth;

    std::stringstream errors;
    EXPECT_EQ(box.isValid(errors), depth <= 128);
    const std::string marker = depth == kUnparsable ? "ERROR_SPACEBOX_1," : "";
    EXPECT_EQ(errors.str(), depth <= 128 ? "" : marker + "ERROR_SPACEBOX_2,") << depth;
}

TEST(SpaceBoxes, EveryBitAtEveryDepth) {
    for (std::uint32_t depth = 0; depth <= 260; ++depth) {
        checkDepth(depth);
        checkDepth(kUnparsable - depth);
    }
    const SpaceBox box(0x123456789ABCDEF0U, 0x0FEDCBA987654321U, 72);
    EXPECT_EQ(box.hashCode(), 0x123456789ABCDEF0U ^ 0x0F00000000000000U);
}

/// How many codes a cell of this depth spans in each direction.
std::uint64_t codesAcross(std::uint32_t depth) {
    return std::uint64_t{1} << (64 - depth / 2 % 64) % 64;
}

/// The cells near a point by counting whole cells. The codes wrap where the world does.
std::vector<std::string> gridNear(double lat, double lon, std::uint32_t depth, double distance,
                                  const double* edges) {
    const int steps[][2] = {{0, 1}, {1, 0}, {0, -1}, {-1, 0}, {-1, 1}, {1, 1}, {1, -1}, {-1, -1}};
    const std::uint64_t unit = codesAcross(depth);
    const std::uint64_t row = encode(lat / 90);
    const std::uint64_t column = encode(lon / 180);
    const auto step = [&](std::uint64_t code, int cells) {
        return (code / unit + static_cast<std::uint64_t>(cells)) * unit;
    };
    std::vector<std::string> found = {contents(boxOfCodes(row, column, depth))};
    for (const auto& [north, east] : steps) {
        if (distance > 0 && (east == 0 || distance > edges[1 - east]) &&
            (north == 0 || distance > edges[2 - north])) {
            const SpaceBox cell = boxOfCodes(step(row, north), step(column, east), depth / 2 * 2);
            found.push_back(contents(cell));
        }
    }
    return found;
}

std::vector<std::string> near(double lat, double lon, std::uint32_t depth, double distance) {
    SpaceBox boxes[UtilG2::_NUM_NEAREST_NEIGHBORS];
    std::uint32_t count = 0;
    const bool fits = UtilG2::pointToSpaceBoxes(lat, lon, depth, distance, boxes, count);
    std::vector<std::string> found(fits ? count : 0);
    std::transform(boxes, boxes + found.size(), found.begin(), contents);
    return found;
}

/// A radius that ends at an edge does not reach beyond it, the next greater one does.
void checkAround(double lat, double lon, std::uint32_t depth) {
    const std::uint64_t unit = codesAcross(depth);
    const auto bits = static_cast<std::int32_t>(depth / 2);
    double edges[4] = {};
    Access::edges(lat, lon, bits, 0, edges);
    const double smallest = *std::min_element(edges, edges + 4);
    for (int i = 0; i < 4; ++i) {
        const double metres = i % 2 == 0 ? parallel(lat) : kMeridian;
        const std::uint64_t below = encode(i % 2 == 0 ? lon / 180 : lat / 90) % unit;
        const double exact = static_cast<double>(i < 2 ? unit - below : below) * metres / 0x1p64;
        ASSERT_NEAR(edges[i], exact, 1e-9 * exact) << lat << " " << lon << " " << depth;
        for (const double radius :
             {std::nextafter(edges[i], -1), edges[i], std::nextafter(edges[i], 1e9), 0.0, -5.0,
              between(0, 1e6), kInfinity}) {
            ASSERT_EQ(Access::edges(lat, lon, bits, radius, edges), radius >= smallest);
            ASSERT_EQ(near(lat, lon, depth, radius), gridNear(lat, lon, depth, radius, edges));
        }
    }
    EXPECT_EQ(near(lat, lon, depth, kNaN).size(), 1U);
}

TEST(Neighbours, CosinesAreWithinTheirBounds) {
    const auto expectWithin = [](double lat) {
        const qorvel_detail::Parallel parallel(lat);
        ASSERT_LE(parallel.lowCosine(), parallel.cosine()) << lat;
        ASSERT_GE(parallel.highCosine(), parallel.cosine()) << lat;
        ASSERT_LT(parallel.highCosine() - parallel.lowCosine(), 1.2e-6) << lat;
    };
    for (int half = 0; half <= 2048; ++half) { // the table's steps, and the middles between them
        const double lat = half * 180.0 / 2048 - 90;
        for (const double near : {std::nextafter(lat, -90), lat, std::nextafter(lat, 90)}) {
            expectWithin(near);
        }
        expectWithin(between(-90, 90));
    }
    for (const double lat : {std::nextafter(90, 91), -91.0, kInfinity, kNaN}) {
        const qorvel_detail::Parallel parallel(lat);
        EXPECT_TRUE(std::isnan(parallel.lowCosine()) && std::isnan(parallel.highCosine())) << lat;
    }
}

TEST(Neighbours, AgainstWholeCells) {
    for (std::uint32_t depth = 0; depth <= 260; ++depth) {
        const bool isHalfTurn = depth / 2 % 64 == 1; // from -180 or 0 to the edge, see below
        for (const double lat : {-90.0, -89.999999, -1e-7, 0.0, 30.1, kBelow90, between(-90, 90)}) {
            for (const double lon : {isHalfTurn ? 1.0 : 0.0, isHalfTurn ? -179.0 : -180.0, -0.1,
                                     kBelow180, between(-180, 180)}) {
                checkAround(lat, lon, depth);
            }
        }
    }
    for (int i = 0; i < 1000; ++i) {
        const auto depth = static_cast<std::uint32_t>(random64() >> 32);
        checkAround(between(-90, 90), between(-180, 180), depth >> i % 32);
    }
    EXPECT_EQ(near(kNaN, kNaN, 10, kInfinity).size(), 1U);
}

TEST(Neighbours, HalfATurnHasNoLength) {
    double edges[4] = {7};
    EXPECT_TRUE(Access::edges(-45, -180, 1, 0, edges) && edges[0] == 0);
    EXPECT_EQ(near(-45, -180, 3, 1), gridNear(-45, -180, 3, 1, edges));
    EXPECT_FALSE(Access::edges(90, 0, 1, kInfinity, edges));
}

TEST(Proximity, TiesAreNear) {
    for (int i = 0; i < 2000; ++i) {
        const double lat = between(-90, 90);
        const double lon = std::pow(10, between(-6, 2));
        const double metres =
            distanceByMetric(2, PointGeodetic128(lat, 0), PointGeodetic128(0, lon));
        ASSERT_TRUE(UtilG2::nearFilter(lat, 0, 0, lon, metres)) << lat << " " << lon;
        ASSERT_FALSE(UtilG2::nearFilter(lat, 0, 0, lon, std::nextafter(metres, 0)));
    }
    EXPECT_FALSE(UtilG2::nearFilter(1, 2, 1, 2, kNaN) ||
                 UtilG2::nearFilter(kNaN, 2, 1, 2, kInfinity));
}

TEST(Proximity, BitsForASize) {
    EXPECT_EQ(Access::bits(10, 0), 128);
    EXPECT_EQ(Access::bits(10, 1e-300), 128);
    for (int n = 0; n <= 64; ++n) {
        const double size = std::ldexp(kMeridian, -n);
        EXPECT_EQ(Access::bits(0, size), 2 * n);
        EXPECT_EQ(Access::bits(0, std::nextafter(size, kInfinity)), 2 * n - 2);
        EXPECT_EQ(Access::bits(80, size), 2 * n - 4); // the parallel is shorter there
    }
}

TEST(Helpers, ConstantsAndMiddles) {
    const double rows[][3] = {{170, -170, -180}, {-10, 10, 0}, {179, -178, -179.5}, {5, 5, 5}};
    for (const auto& [west, east, middle] : rows) {
        double found = 77;
        UtilG2::midLongitude(west, east, found);
        EXPECT_EQ(found, middle) << west;
    }
    EXPECT_EQ(UtilG2::_BITS_PER_GEOHASH_CHAR, 5U);
    EXPECT_EQ(UtilG2::_MAX_GEOHASHSTRING_LENGTH, 26U);
    EXPECT_EQ(UtilG2::_MAX_INTERLEAVED_LENGTH, UtilG2::_NUM_NEAREST_NEIGHBORS);
}

TEST(Helpers, TimeStamps) {
    const std::pair<std::int64_t, const char*> rows[] = {
        {0, "NULL"},
        {INT64_MAX, "NULL"},
        {86400, "1970-0-2 0:0:0"},
        {-1, "1969-11-31 23:59:59"},
        {-62135596801, "0-11-31 23:59:59"},
        {INT64_MAX - 1, "292277026596-11-4 15:30:6"},
        {INT64_MIN, "-292277022657-0-27 8:29:52"}};
    for (const auto& [seconds, expected] : rows) {
        std::string text = "old";
        EXPECT_TRUE(UtilG2::prettyPrintTimeStamp(seconds, text) && text == expected) << text;
    }
}

} // namespace
