// Everything that there is of a kind, where that is little enough.

#include "qorvel/qorvel.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <gtest/gtest.h>
#include <vector>

QORVEL_BEGIN_NAMESPACE

struct UtilG2TestAccess {
    static constexpr auto edges = &UtilG2::distance;
};

QORVEL_END_NAMESPACE

namespace {

const std::string kAlphabet = "0123456789bcdefghjkmnpqrstuvwxyz";

struct Extent {
    double south, north, west, east;
};

/// The part of a cell that one more character stands for: five halves, by turns of each kind.
Extent part(Extent cell, std::size_t character, bool eastFirst) {
    for (std::size_t bit = 16; bit != 0; bit /= 2, eastFirst = !eastFirst) {
        const bool upper = (character & bit) != 0;
        double& moved =
            eastFirst ? (upper ? cell.west : cell.east) : (upper ? cell.south : cell.north);
        moved = eastFirst ? (cell.west + cell.east) / 2 : (cell.south + cell.north) / 2;
    }
    return cell;
}

bool isRightCell(const std::string& text, const Extent& extent, std::stringstream& errors) {
    const SpaceBox cell(text);
    const std::uint32_t depth = cell.getGeoHashBitDepth();
    const SpaceBox parent(text.substr(0, text.size() - 1));
    const auto [south, north, west, east] = extent;
    constexpr double little = 1e-9;
    double lat = 0;
    double lon = 0;
    QorvelMotionProcessorAPI::getCentroid(cell, lat, lon, errors);
    return depth == 5 * text.size() && cell.toASCIIString() == text &&
           cell.equals(parent, depth - 5) && south < lat && lat < north && west < lon &&
           lon < east && SpaceBox(lat, lon, depth) == cell &&
           SpaceBox(south, west, depth) == cell &&
           SpaceBox(north - little, east - little, depth) == cell &&
           !(SpaceBox(north, west, depth) == cell) && !(SpaceBox(south, east, depth) == cell);
}

/// Goes through all cells within the one of `text`; returns how many there are.
int walk(const std::string& text, const Extent& extent, std::stringstream& wrong) {
    int cells = 0;
    for (std::size_t character = 0; character < kAlphabet.size(); ++character) {
        const std::string longer = text + kAlphabet[character];
        const Extent inner = part(extent, character, text.size() % 2 == 0);
        wrong << (isRightCell(longer, inner, wrong) ? "" : longer + ' ');
        cells += 1 + (longer.size() < 4 ? walk(longer, inner, wrong) : 0);
    }
    return cells;
}

TEST(Exhaustive, CellsOfUpToFourCharacters) {
    std::stringstream wrong;
    EXPECT_EQ(walk("", {-90, 90, -180, 180}, wrong), 32 * (1 + 32 * (1 + 32 * (1 + 32))));
    EXPECT_EQ(wrong.str(), "");
}

/// The calendar boundary by the standard library, which carries months and years itself.
std::int64_t libraryBoundary(const TimeBoxSpec& spec, std::int64_t time, bool atEnd) {
    using namespace std::chrono;
    const auto day = floor<days>(sys_seconds(seconds(time / 1000)));
    const year_month_day date(day);
    const auto group = [&](int index) {
        const auto wrapped = static_cast<std::uint32_t>(index);
        return static_cast<int>(spec.count * (wrapped / spec.count + (atEnd ? 1 : 0)));
    };
    const year_month first =
        spec.unit == TimeBoxSpec::kYears
            ? year(1900) / January + years(group(static_cast<int>(date.year()) - 1900))
            : date.year() / January + months(group(static_cast<int>(unsigned(date.month())) - 1));
    return milliseconds(sys_days(first / 1).time_since_epoch()).count();
}

/// Both ends of every day, and with them both ends of every box.
TEST(Exhaustive, CalendarBoxesOfEveryDayFrom1880To2210) {
    constexpr std::int64_t day = 86400000;
    constexpr std::int64_t first = -32872 * day; // 1880-01-01
    constexpr std::int64_t last = 87658 * day;   // 2210-01-01
    for (const char* unit : {"months", "years"}) {
        for (std::uint32_t count = 1; count <= 24; ++count) {
            const TimeBoxSpec spec(count, unit);
            std::vector<std::int64_t> wrong;
            for (std::int64_t time = first; time < last; time += day) {
                for (const std::int64_t moment : {time, time + day - 1}) {
                    if (spec.getTimeBoxStart(moment) != libraryBoundary(spec, moment, false) ||
                        spec.getTimeBoxEnd(moment) != libraryBoundary(spec, moment, true)) {
                        wrong.push_back(moment);
                    }
                }
            }
            EXPECT_TRUE(wrong.empty()) << count << unit << ' ' << wrong.front();
        }
    }
}

/// Are the cells in which a detector files an event those that are near? With its first item every
/// cell has a record.
bool isFiledWhereNear(const Event& event, std::uint32_t depth) {
    SpaceBox near[UtilG2::_NUM_NEAREST_NEIGHBORS];
    std::uint32_t count = 0;
    UtilG2::pointToSpaceBoxes(event.latitude, event.longitude, depth, event.spaceTolerance, near,
                              count);
    HangoutDetector detector;
    std::list<STBCompressedEvent> records;
    detector.processEventPresenceCompression(event, 1.0, 1.0, {0, 0, 0, 1000, 1, 0.0},
                                             {SpaceBoxSpec(depth), TimeBoxSpec()}, records);
    const auto isOf = [](const SpaceBox& cell, const STBCompressedEvent& record) {
        return cell == record.stb;
    };
    return count > 0 && std::equal(near, near + count, records.begin(), records.end(), isOf);
}

/// A detector decides by cheaper means which cells are near, and has to come to the same end on
/// both sides of every edge and corner.
TEST(Exhaustive, DetectorsFileInTheCellsNearAtEveryDepth) {
    std::ostringstream wrong;
    Event event;
    for (std::uint32_t depth = 0; depth <= 128; ++depth) {
        for (const double lat : {-90.0, -89.99999, -1e-7, 0.0, 1e-7, 60.0, 89.99999999999999}) {
            for (const double lon : {-180.0, -179.99999, -1e-7, 0.0, 90.0, 179.99999999999997}) {
                double edges[5] = {0, 0, 0, 0, 1e8};
                UtilG2TestAccess::edges(lat, lon, static_cast<std::int32_t>(depth / 2), 0, edges);
                event.latitude = lat;
                event.longitude = lon;
                for (int i = 0; i < 15; ++i) { // each edge and both its neighbours
                    const double edge = edges[i / 3];
                    event.spaceTolerance = std::nextafter(edge, edge + i % 3 - 1);
                    if (!isFiledWhereNear(event, depth)) {
                        wrong << depth << ' ' << lat << ' ' << lon << ' ' << edge << '\n';
                    }
                }
            }
        }
    }
    EXPECT_EQ(wrong.str(), "");
}

} // namespace
