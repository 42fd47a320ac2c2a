#include "qorvel/geohash/UtilG2.h"

#include "qorvel/geodesy/PointGeodetic128.h"
#include "qorvel/geodesy/detail/GeodesyContext.h"
#include "qorvel/geodesy/detail/angles.h"
#include "qorvel/geodesy/detail/calendar.h"
#include "qorvel/geodesy/detail/decode.h"
#include "qorvel/geodesy/distanceByMetric.h"
#include "qorvel/geohash/SpaceBox.h"
#include "qorvel/geohash/detail/Cell.h"
#include "qorvel/geohash/detail/NearCells.h"
#include "qorvel/geohash/detail/PointCode.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

QORVEL_BEGIN_NAMESPACE

namespace {

constexpr std::int32_t kCodeBits = 64;
constexpr std::uint32_t kMaxDepth = 128;
constexpr std::uint32_t kUnparsableDepth = UINT32_MAX;
constexpr std::int32_t kSpheroidalMetric = 2;

constexpr std::string_view kAlphabet = "0123456789bcdefghjkmnpqrstuvwxyz";
constexpr std::int8_t kRejected = 124;

constexpr std::array<std::int8_t, 128> makeCharacterValues() {
    std::array<std::int8_t, 128> values{};
    for (std::int8_t& value : values) {
        value = kRejected;
    }
    for (std::size_t i = 0; i < kAlphabet.size(); ++i) {
        const char character = kAlphabet[i];
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

/// The 128 bits of a cell as characters, twelve to a group of 60 bits: 60 + 60 + 8. Characters that
/// were not set are 0, and the low two bits of the 26th lie beyond the cell.
class Characters {
public:
    Characters() = default;
    explicit Characters(const detail::Cell& cell)
        : groups_{cell.first >> 4, (cell.first << 56 | cell.second >> 8) & kGroupMask,
                  (cell.second & 0xFFU) << 52} {}

    std::uint64_t first() const { return groups_[0] << 4 | groups_[1] >> 56; }
    std::uint64_t second() const { return groups_[1] << 8 | groups_[2] >> 52; }

    std::size_t get(std::size_t index) const {
        return groups_[index / kInGroup] >> shiftOf(index) & 31U;
    }
    void set(std::size_t index, std::uint64_t value) {
        groups_[index / kInGroup] |= value << shiftOf(index);
    }

private:
    static constexpr std::size_t kInGroup = 12;
    static constexpr std::uint64_t kGroupMask = (std::uint64_t{1} << 60) - 1;

    static std::size_t shiftOf(std::size_t index) { return 55 - 5 * (index % kInGroup); }

    std::array<std::uint64_t, 3> groups_{};
};

/// Up to the end or a NUL byte; false where another character is in the way.
bool readCharacters(const std::string& geohash, Characters& characters) {
    for (std::size_t i = 0; i < geohash.size() && geohash[i] != '\0'; ++i) {
        const std::int8_t value = characterValue(geohash[i]);
        if (value == kRejected) {
            return false;
        }
        characters.set(i, static_cast<std::uint64_t>(value));
    }
    return true;
}

/// A box that only its depth tells apart.
SpaceBox emptyBox(std::uint32_t depth) {
    return {std::uint64_t{0}, std::uint64_t{0}, depth};
}

/// Five bits a character; capped, so that no text is so long that its box becomes valid again.
std::uint32_t depthOfText(std::size_t length) {
    constexpr std::size_t longest = UINT32_MAX / 5;
    return 5 * static_cast<std::uint32_t>(std::min(length, longest));
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
    detail::PointCode code{};
    if (!detail::encodePoint(lat, lon, code)) {
        return false;
    }
    point64ToSpaceBox(code.latitude, code.longitude, depth, box);
    return true;
}

bool UtilG2::pointToSpaceBox(const double& lat, const double& lon, SpaceBox& box) {
    return pointToSpaceBox(lat, lon, kMaxDepth, box);
}

bool UtilG2::stringToSpaceBox(const std::string& geohash, SpaceBox& box) {
    const std::size_t length = geohash.size();
    if (length > _MAX_GEOHASHSTRING_LENGTH) {
        box = emptyBox(depthOfText(length));
        return false;
    }
    Characters characters;
    if (!readCharacters(geohash, characters)) {
        box = emptyBox(kUnparsableDepth);
        return false;
    }
    // Texts that end inside the second word, but not in its last quarter, lose that word. This is
    // how such texts have always been read, and cells must not change under a stored text.
    const bool losesSecondWord = length >= 13 && length <= 22;
    box = SpaceBox(characters.first(), losesSecondWord ? 0 : characters.second(),
                   depthOfText(length));
    return true;
}

std::string UtilG2::spaceBoxToString(const SpaceBox& box) {
    const std::uint32_t depth = std::min(box.getGeoHashBitDepth(), kMaxDepth);
    const Characters characters(
        detail::significant(box.getFirst64Bits(), box.getSecond64Bits(), depth));
    std::string text((depth + _BITS_PER_GEOHASH_CHAR - 1) / _BITS_PER_GEOHASH_CHAR, '\0');
    for (std::size_t i = 0; i < text.size(); ++i) {
        text[i] = kAlphabet[characters.get(i)];
    }
    return text;
}

bool UtilG2::pointToSpaceBoxes(const double& lat, const double& lon, const std::uint32_t& depth,
                               const double& distance, SpaceBox* boxes, std::uint32_t& count) {
    detail::PointCode code{};
    if (!detail::encodePoint(lat, lon, code)) {
        return false;
    }
    detail::NearCells near;
    detail::findNearCells(code, lat, depth, distance, near);
    for (std::uint32_t i = 0; i < near.count; ++i) {
        const detail::Cell& cell = near.cells[i];
        boxes[i] = SpaceBox(cell.first, cell.second, cell.depth);
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
    const detail::FloorDivision day = detail::floorDivide(seconds, daySeconds);
    const detail::CivilDate date = detail::civilFromDays(day.quotient);
    text = std::to_string(date.year) + '-' + std::to_string(date.month) + '-' +
           std::to_string(date.day) + ' ' + std::to_string(day.remainder / 3600) + ':' +
           std::to_string(day.remainder / 60 % 60) + ':' + std::to_string(day.remainder % 60);
    return true;
}

bool UtilG2::doubleToI64(const double& x, std::uint64_t& code) {
    return detail::fractionToCode(x, code);
}

bool UtilG2::i64ToDouble(const std::uint64_t& code, double& x) {
    x = detail::codeToFraction(code);
    return true;
}

void UtilG2::point64ToSpaceBox(const std::uint64_t& latCode, const std::uint64_t& lonCode,
                               const std::uint32_t& depth, SpaceBox& box) {
    const detail::Cell cell = detail::interleave({latCode, lonCode}, depth);
    box = SpaceBox(cell.first, cell.second, cell.depth);
}

bool UtilG2::distance(const double& lat, const double& lon, const std::int32_t& bits,
                      const double& radius, double* edges) {
    detail::PointCode code{};
    if (!detail::encodePoint(lat, lon, code)) {
        return false;
    }
    const detail::CellEdges ways = detail::cellEdges(code, lat, static_cast<std::uint32_t>(bits));
    edges[0] = ways.east;
    edges[1] = ways.north;
    edges[2] = ways.west;
    edges[3] = ways.south;
    return radius >= ways.smallest();
}

double UtilG2::latDistance(const std::uint64_t& delta) {
    return detail::latitudeExtent(delta);
}

double UtilG2::lonDistance(const std::uint64_t& delta, const double& parallelRadius) {
    return detail::longitudeExtent(delta, parallelRadius);
}

std::int32_t UtilG2::getNumLatitudeBits(const double& size) {
    return size <= 0 ? kCodeBits
                     : halvings(detail::kPi * detail::defaultEllipsoid().semiMajorAxis / size);
}

std::int32_t UtilG2::getNumLongitudeBits(const double& lat, const double& size) {
    return size <= 0 ? kCodeBits : halvings(detail::kTwoPi * detail::parallelRadius(lat) / size);
}

std::int32_t UtilG2::getNumBits(const double& lat, const double& size) {
    return 2 * std::min(getNumLatitudeBits(size), getNumLongitudeBits(lat, size));
}

QORVEL_END_NAMESPACE
