// Places beside a model that looks at every minute of every stay and at every pair of spots.
#include "engine/columns/Fault.h"
#include "testing/support/findPlaces.h"
#include "testing/support/wantedEvents.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace qorvel_engine;

constexpr std::int64_t kMinute = 60'000;
constexpr std::int64_t kHour = 60 * kMinute;
constexpr std::int64_t kDay = 24 * kHour;
constexpr std::int64_t kMonday = 1'709'510'400'000; // 2024-03-04T00:00:00Z
constexpr double kMetresPerDegree = 111'194.0;

/// A fix every ten minutes of a stay.
void addStay(std::vector<world::SceneFix>& fixes, std::uint32_t entity, std::int64_t from,
             std::int64_t length, double lat, double lon) {
    for (std::int64_t time = from; time <= from + length; time += 10 * kMinute) {
        fixes.push_back({entity, time, lat, lon, 5.0});
    }
}

AnalysisOptions placesIn(const std::string& zone) {
    AnalysisOptions asked;
    asked.question = Question::places;
    asked.places.zone = TimeZone(zone);
    return asked;
}

/// What the C library's clock says of each minute of a stay.
std::array<double, 10> hoursByTheMinute(std::int64_t from, std::int64_t to) {
    std::array<double, 10> hours{};
    for (std::int64_t time = from; time < to; time += kMinute) {
        const std::time_t seconds = time / 1000;
        std::tm clock{};
        localtime_r(&seconds, &clock);
        const int weekday = (clock.tm_wday + 6) % 7;
        hours[0] += 1.0 / 60;
        hours[1] += clock.tm_hour >= 22 || clock.tm_hour < 6 ? 1.0 / 60 : 0.0;
        hours[2] += weekday < 5 && clock.tm_hour >= 9 && clock.tm_hour < 17 ? 1.0 / 60 : 0.0;
        hours[3 + static_cast<std::size_t>(weekday)] += 1.0 / 60;
    }
    return hours;
}

struct ModelPlace {
    double lat, lon, length; ///< means are weighted by the lengths, ms
    std::int64_t visits, first;
    std::array<double, 10> hours;

    /// On the ellipsoid, by its two radii of curvature there.
    double metresTo(const ModelPlace& other) const {
        constexpr double kRadius = 6'378'137.0, kFlattening = 1.0 / 298.257223563;
        constexpr double kEccentricity2 = kFlattening * (2.0 - kFlattening);
        constexpr double kPerDegree = 3.14159265358979323846 / 180.0;
        const double sine = std::sin((lat + other.lat) / 2.0 * kPerDegree);
        const double share = 1.0 - kEccentricity2 * sine * sine;
        const double across = kRadius / std::sqrt(share);
        return std::hypot((lat - other.lat) * (across * (1.0 - kEccentricity2) / share),
                          std::remainder(lon - other.lon, 360.0) * across *
                              std::sqrt(1.0 - sine * sine)) *
               kPerDegree;
    }
    void add(const ModelPlace& other) {
        const double share = other.length / (length + other.length);
        lat += (other.lat - lat) * share;
        lon += std::remainder(other.lon - lon, 360.0) * share;
        length += other.length;
        visits += other.visits;
        first = std::min(first, other.first);
        for (std::size_t k = 0; k < hours.size(); ++k) {
            hours[k] += other.hours[k];
        }
    }
};

/// The rule as it stands in the documentation, over all pairs.
std::vector<ModelPlace> gatherSlowly(const std::vector<StayRow>& stays, double radius) {
    std::vector<ModelPlace> begun, spots, places;
    for (const StayRow& stay : stays) {
        const ModelPlace visit{stay.lat, stay.lon,  double(stay.to - stay.from),
                               1,        stay.from, hoursByTheMinute(stay.from, stay.to)};
        const auto nearest =
            std::min_element(begun.begin(), begun.end(), [&](const auto& a, const auto& b) {
                return a.metresTo(visit) < b.metresTo(visit);
            });
        if (nearest == begun.end() || nearest->metresTo(visit) > radius / 4) {
            begun.push_back(visit);
            spots.push_back(visit);
        } else {
            spots[static_cast<std::size_t>(nearest - begun.begin())].add(visit);
        }
    }
    const auto hasMore = [](const auto& a, const auto& b) {
        return a.length != b.length ? a.length > b.length : a.first < b.first;
    };
    std::stable_sort(spots.begin(), spots.end(), hasMore);
    while (!spots.empty()) {
        const ModelPlace most = spots.front();
        const auto rest = std::stable_partition(spots.begin(), spots.end(), [&](const auto& spot) {
            return spot.metresTo(most) <= radius;
        });
        ModelPlace& place = places.emplace_back(spots.front());
        std::for_each(spots.begin() + 1, rest, [&](const auto& spot) { place.add(spot); });
        spots.erase(spots.begin(), rest);
    }
    std::stable_sort(places.begin(), places.end(), hasMore);
    return places;
}

// Chains of places some 90 m apart and places far from each other, on both sides of the longitude
// 180, over changes of the clocks. No visit is quite where another was: halfway between two places
// the last bits of the sums would tell which of them is nearer.
std::vector<world::SceneFix> visitsOf(std::uint32_t entities, std::mt19937_64& random) {
    std::vector<world::SceneFix> fixes;
    for (std::uint32_t entity = 0; entity < entities; ++entity) {
        for (std::int64_t time = kMonday; time < kMonday + 40 * kDay;) {
            const auto spot = random() % 12;
            const double metres =
                (spot < 8 ? 90.0 : 3000.0) * double(spot) + double(random() % 1000) / 1000.0;
            const auto length =
                std::int64_t(20 + random() % 900) / 2 * 2 * kMinute; // so halves are whole
            addStay(fixes, entity, time, length, 60.0,
                    std::remainder(179.998 + metres / (kMetresPerDegree / 2), 360.0));
            time += length + 26 * kMinute;
        }
    }
    return fixes;
}

TEST(Places, AreThoseOfTheModelInAllBatchesAndThreads) {
    if (!std::filesystem::exists("/usr/share/zoneinfo/America/New_York")) {
        GTEST_SKIP() << "this machine has no time zones";
    }
    setenv("TZ", "America/New_York", 1);
    tzset();
    constexpr std::uint32_t kEntities = 6;
    const AnalysisOptions asked = placesIn("America/New_York");
    std::uint64_t events = 0;
    for (std::uint64_t seed = 3; events < wantedEvents(30'000) && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937_64 random(seed);
        const std::vector<world::SceneFix> fixes = visitsOf(kEntities, random);
        events += fixes.size();
        const std::vector<PlaceRow> rows = findPlaces(fixes, asked);
        const std::vector<StayRow> stays = byEntity(findStays(fixes));
        auto row = rows.begin();
        for (std::uint32_t entity = 0; entity < kEntities; ++entity) {
            std::vector<StayRow> own;
            std::copy_if(stays.begin(), stays.end(), std::back_inserter(own),
                         [entity](const StayRow& stay) { return stay.entity == entity; });
            std::int64_t rank = 0;
            for (const ModelPlace& place : gatherSlowly(own, 200.0)) {
                ASSERT_TRUE(row != rows.end());
                EXPECT_EQ(row->entity, entity);
                EXPECT_EQ(row->rank, ++rank);
                EXPECT_EQ(row->visits, place.visits);
                EXPECT_EQ(row->first, place.first);
                EXPECT_NEAR(row->lat, place.lat, 1e-5);
                EXPECT_NEAR(std::remainder(row->lon - place.lon, 360.0), 0.0, 2e-5);
                for (std::size_t k = 0; k < row->hours.size(); ++k) {
                    EXPECT_NEAR(row->hours[k], place.hours[k], 0.001) << k;
                }
                ++row;
            }
        }
        EXPECT_TRUE(row == rows.end());
        SessionOptions how;
        for (how.threads = 2; how.threads < 6; how.threads += 3) {
            EXPECT_EQ(findPlaces(fixes, asked, how, 77), rows);
        }
    }
}

TEST(Places, HaveLabelsByTheirHours) {
    struct Visit {
        int day; ///< 0 is a Monday
        std::int64_t from, hours;
        double place;
    };
    struct Row {
        std::vector<Visit> visits;
        std::vector<std::string> labels;
    };
    const Row rows[] = {
        {{{0, 0, 7, 1}, {0, 9, 8, 2}, {1, 0, 8, 1}}, {"home", "work"}},
        {{{0, 22, 6, 2}, {1, 9, 8, 1}, {1, 22, 6, 2}, {2, 9, 8, 1}}, {"work", "home"}},
        {{{0, 8, 12, 1}, {1, 8, 1, 2}}, {"work", ""}}, // no night, short work
        {{{5, 0, 8, 1}, {5, 9, 8, 2}}, {"home", ""}},  // a Saturday
        {{{0, 0, 20, 1}}, {"home"}}};
    for (const Row& row : rows) {
        std::vector<world::SceneFix> fixes;
        for (const Visit& visit : row.visits) {
            addStay(fixes, 1, kMonday + visit.day * kDay + visit.from * kHour, visit.hours * kHour,
                    visit.place, -visit.place);
        }
        AnalysisOptions asked = placesIn("UTC");
        for (const bool labels : {true, false}) {
            asked.places.labels = labels;
            std::vector<std::string> found;
            for (const PlaceRow& place : findPlaces(fixes, asked)) {
                found.push_back(place.label);
            }
            EXPECT_EQ(found, labels ? row.labels : std::vector<std::string>(row.labels.size()));
        }
    }
}

// What falls into a third, five of twenty-one and a seventh of all hours there are.
TEST(Places, SplitHoursExactly) {
    AnalysisOptions asked = placesIn("+24:00");
    asked.stays.maxGap = asked.stays.maxBridge = INT64_MAX;
    const std::vector<world::SceneFix> ages = {{1, 0, 1.0, 1.0, 5.0},
                                               {1, INT64_MAX, 1.0, 1.0, 5.0}};
    const std::vector<PlaceRow> rows = findPlaces(ages, asked);
    ASSERT_EQ(rows.size(), 1U);
    const double all = static_cast<double>(INT64_MAX) / kHour;
    EXPECT_DOUBLE_EQ(rows[0].hours[0], all);
    EXPECT_NEAR(rows[0].hours[1] / all, 1.0 / 3, 1e-9);
    EXPECT_NEAR(rows[0].hours[2] / all, 5.0 / 21, 1e-9);
    EXPECT_NEAR(rows[0].hours[9] / all, 1.0 / 7, 1e-9);
}

} // namespace
