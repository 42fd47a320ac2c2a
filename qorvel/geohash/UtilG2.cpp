#include "qorvel/geohash/UtilG2.h"

#include "qorvel/base/calendar.h"
#include "qorvel/base/cellText.h"
#include "qorvel/base/decode.h"
#include "qorvel/geodesy/PointGeodetic128.h"
#include "qorvel/geodesy/detail/GeodesyContext.h"
#include "qorvel/geodesy/detail/angles.h"
#include "qorvel/geodesy/distanceByMetric.h"
#include "qorvel/geohash/SpaceBox.h"
#include "qorvel/geohash/detail/Cell.h"
#include "qorvel/geohash/detail/NearCells.h"
#include "qorvel/geohash/detail/PointCode.h"
#include "qorvel/geohash/detail/Position.h"
#include "qorvel/geohash/detail/boxCell.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

QORVEL_BEGIN_NAMESPACE

namespace {

constexpr std::int32_t kCodeBits = 64;
constexpr std::int32_t kSpheroidalMetric = 2;

using qorvel_detail::kCellAlphabet;
constexpr std::int8_t kRejected = 124;

consteval std::array<std::int8_t, 128> makeCharacterValues() {
    std::array<std::int8_t, 128> values{};
    for (std::int8_t& value : values) {
        value = kRejected;
    }
    for (std::size_t i = 0; i < kCellAlphabet.size(); ++i) {
        const char character = kCellAlphabet[i];
        const bool isLetter = character >= 'a';
        values[static_cast<std::size_t>(character)] = static_cast<std::int8_t>(i);
        values[static_cast<std::size_t>(isLetter ? character - 'a' + 'A' : character)] =
            static_cast<std::int8_t>(i);
    }
    return values;
}

constexpr std::array<std::int8_t, 128> kCharacterValues = makeCharacterValues();

/// The five bits of a geohash character, or kRejected.
std::int8_t characterValue(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte < kCharacterValues.size() ? kCharacterValues[byte] : kRejected;
}

/// The five-bit values of the longest text, and zeros up to twice sixteen.
using Values = std::array<std::uint32_t, 32>;

/// The bits of a text, most significant first. Eight chunks fill a cell; the four behind them are
/// never more than zero where they are read, see stringToSpaceBox.
using Chunks = std::array<std::uint16_t, 12>;

constexpr std::uint16_t lowChunk(std::uint32_t bits) {
    return static_cast<std::uint16_t>(bits);
}

/// Sixteen characters fill five chunks exactly, so one fixed pattern serves them all.
void packSixteen(const std::uint32_t* v, std::uint16_t* chunks) {
    chunks[0] = lowChunk(v[0] << 11 | v[1] << 6 | v[2] << 1 | v[3] >> 4);
    chunks[1] = lowChunk(v[3] << 12 | v[4] << 7 | v[5] << 2 | v[6] >> 3);
    chunks[2] = lowChunk(v[6] << 13 | v[7] << 8 | v[8] << 3 | v[9] >> 2);
    chunks[3] = lowChunk(v[9] << 14 | v[10] << 9 | v[11] << 4 | v[12] >> 1);
    chunks[4] = lowChunk(v[12] << 15 | v[13] << 10 | v[14] << 5 | v[15]);
}

constexpr std::size_t kInBlock = 16;
constexpr std::size_t kBlockChunks = 5;
constexpr std::size_t kWordChunks = 4;

/// Up to the end or a NUL byte; false where another character is in the way.
bool readValues(const std::string& geohash, Values& values) {
    for (std::size_t i = 0; i < geohash.size() && geohash[i] != '\0'; ++i) {
        const std::int8_t value = characterValue(geohash[i]);
        if (value == kRejected) {
            return false;
        }
        values[i] = static_cast<std::uint32_t>(value);
    }
    return true;
}

std::uint64_t wordOf(const std::uint16_t* chunks) {
    std::uint64_t word = 0;
    for (std::size_t i = 0; i < kWordChunks; ++i) {
        word = word << 16 | chunks[i];
    }
    return word;
}

/// A box that only its depth tells apart.
SpaceBox emptyBox(std::uint32_t depth) {
    return {std::uint64_t{0}, std::uint64_t{0}, depth};
}

/// How often `ratio` can be halved and is still at least 1; 64 at most, negative below 1.
std::int32_t halvings(double ratio) {
    int exponent = 0;
    std::frexp(ratio, &exponent);
    return std::min(exponent - 1, kCodeBits);
}

} // namespace

const std::uint32_t UtilG2::_BITS_PER_GEOHASH_CHAR;
const std::uint32_t UtilG2::_MAX_GEOHASHSTRING_LENGTH;
const std::uint32_t UtilG2::_MAX_INTERLEAVED_LENGTH;
const std::uint32_t UtilG2::_NUM_NEAREST_NEIGHBORS;

bool UtilG2::pointToSpaceBox(const double& lat, const double& lon, const std::uint32_t& depth,
                             SpaceBox& box) {
    qorvel_detail::PointCode code{};
    if (!qorvel_detail::encodePoint(lat, lon, code)) {
        return false;
    }
    point64ToSpaceBox(code.latitude, code.longitude, depth, box);
    return true;
}

bool UtilG2::pointToSpaceBox(const double& lat, const double& lon, SpaceBox& box) {
    return pointToSpaceBox(lat, lon, qorvel_detail::kMaxDepth, box);
}

bool UtilG2::stringToSpaceBox(const std::string& geohash, SpaceBox& box) {
    const std::size_t length = geohash.size();
    if (length > _MAX_GEOHASHSTRING_LENGTH) {
        box = emptyBox(qorvel_detail::depthOfText(length));
        return false;
    }
    Values values{};
    if (!readValues(geohash, values)) {
        box = emptyBox(qorvel_detail::kUnparsableDepth);
        return false;
    }
    Chunks chunks{};
    packSixteen(values.data(), chunks.data());
    packSixteen(values.data() + kInBlock, chunks.data() + kBlockChunks);
    // Texts of 13 to 22 characters lose their second word: it is read from behind the chunks that
    // they fill. This is how such texts have always been read, and cells must not change under a
    // stored text.
    const std::size_t secondWord = length > 22 ? kWordChunks : 2 * kWordChunks;
    box = SpaceBox(wordOf(chunks.data()), wordOf(chunks.data() + secondWord),
                   qorvel_detail::depthOfText(length));
    return true;
}

std::string UtilG2::spaceBoxToString(const SpaceBox& box) {
    const std::uint32_t depth = box.getGeoHashBitDepth();
    std::array<char, qorvel_detail::kCellTextRoom> text;
    qorvel_detail::writeCellText(box.getFirst64Bits(), box.getSecond64Bits(), depth, text.data());
    return {text.data(), qorvel_detail::cellTextLength(depth)};
}

bool UtilG2::pointToSpaceBoxes(const double& lat, const double& lon, const std::uint32_t& depth,
                               const double& distance, SpaceBox* boxes, std::uint32_t& count) {
    const qorvel_detail::Position point(lat, lon);
    if (!point.hasCell()) {
        return false;
    }
    qorvel_detail::NearCells near;
    point.findNear(depth, distance, near);
    for (std::uint32_t i = 0; i < near.count; ++i) {
        boxes[i] = qorvel_detail::boxOf(near.cells[i]);
    }
    count = near.count;
    return true;
}

bool UtilG2::nearFilter(const double& lat1, const double& lon1, const double& lat2,
                        const double& lon2, const double& threshold) {
    const PointGeodetic128 p1(lat1, lon1);
    const PointGeodetic128 p2(lat2, lon2);
    return threshold >= distanceByMetric(kSpheroidalMetric, p1, p2);
}

bool UtilG2::midLongitude(const double& lon1, const double& lon2, double& mid) {
    const double mean = (lon1 + lon2) / 2;
    if (lon1 > lon2) {
        mid = mean < 0 ? mean + 180 : mean - 180;
    } else {
        mid = mean;
    }
    return true;
}

bool UtilG2::prettyPrintTimeStamp(const std::int64_t& seconds, std::string& text) {
    if (seconds == 0 || seconds == INT64_MAX) {
        text = "NULL";
        return true;
    }
    constexpr std::int64_t daySeconds = 86400;
    const qorvel_detail::FloorDivision day = qorvel_detail::floorDivide(seconds, daySeconds);
    const qorvel_detail::CivilDate date = qorvel_detail::civilFromDays(day.quotient);
    text = std::to_string(date.year) + '-' + std::to_string(date.month) + '-' +
           std::to_string(date.day) + ' ' + std::to_string(day.remainder / 3600) + ':' +
           std::to_string(day.remainder / 60 % 60) + ':' + std::to_string(day.remainder % 60);
    return true;
}

bool UtilG2::doubleToI64(const double& x, std::uint64_t& code) {
    return qorvel_detail::fractionToCode(x, code);
}

bool UtilG2::i64ToDouble(const std::uint64_t& code, double& x) {
    x = qorvel_detail::codeToFraction(code);
    return true;
}

void UtilG2::point64ToSpaceBox(const std::uint64_t& latCode, const std::uint64_t& lonCode,
                               const std::uint32_t& depth, SpaceBox& box) {
    box = qorvel_detail::boxOf(qorvel_detail::interleave({latCode, lonCode}, depth));
}

bool UtilG2::distance(const double& lat, const double& lon, const std::int32_t& bits,
                      const double& radius, double* edges) {
    qorvel_detail::PointCode code{};
    if (!qorvel_detail::encodePoint(lat, lon, code)) {
        return false;
    }
    const qorvel_detail::CellEdges ways = qorvel_detail::cellEdges(
        code, qorvel_detail::cosineOfLatitude(lat), static_cast<std::uint32_t>(bits));
    edges[0] = ways.east;
    edges[1] = ways.north;
    edges[2] = ways.west;
    edges[3] = ways.south;
    return radius >= ways.smallest();
}

double UtilG2::latDistance(const std::uint64_t& delta) {
    return qorvel_detail::latitudeExtent(delta);
}

double UtilG2::lonDistance(const std::uint64_t& delta, const double& parallelRadius) {
    return qorvel_detail::longitudeExtent(delta, parallelRadius);
}

std::int32_t UtilG2::getNumLatitudeBits(const double& size) {
    return size <= 0 ? kCodeBits
                     : halvings(qorvel_detail::kPi *
                                qorvel_detail::defaultEllipsoid().semiMajorAxis / size);
}

std::int32_t UtilG2::getNumLongitudeBits(const double& lat, const double& size) {
    return size <= 0
               ? kCodeBits
               : halvings(qorvel_detail::kTwoPi *
                          qorvel_detail::parallelRadius(qorvel_detail::cosineOfLatitude(lat)) /
                          size);
}

std::int32_t UtilG2::getNumBits(const double& lat, const double& size) {
    return 2 * std::min(getNumLatitudeBits(size), getNumLongitudeBits(lat, size));
}

QORVEL_END_NAMESPACE
