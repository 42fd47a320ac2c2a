// Stays, as the engine finds them in fixes.
#include "testing/support/findStays.h"
#include "testing/world/StayScene.h"
#include "testing/world/StayScore.h"

#include "qorvel/qorvel.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <sstream>
#include <string>

namespace {

using namespace qorvel_engine;
using Fixes = std::vector<world::SceneFix>;

constexpr std::int64_t kMinute = 60000;
constexpr std::int64_t kDay = 1440; ///< minutes

std::mt19937_64 random_(11);

double between(double low, double high) {
    return low + (high - low) * (static_cast<double>(random_() >> 11) * 0x1p-53);
}

/// Some fixes at a place.
struct Piece {
    double east; ///< metres
    int fixes;
    std::int64_t pause = 1; ///< minutes after each
    double accuracy = 10.0;
    double further = 0.0; ///< metres that each lies further east than the one before
};

/// About 0, 0, where a degree of longitude has 111,319.49 m.
Fixes play(const std::vector<Piece>& pieces) {
    Fixes fixes;
    std::int64_t time = 0;
    for (const Piece& piece : pieces) {
        for (int i = 0; i < piece.fixes; ++i, time += piece.pause * kMinute) {
            fixes.push_back(
                {1, time, 0.0, (piece.east + i * piece.further) / 111319.49, piece.accuracy});
        }
    }
    return fixes;
}

/// In minutes.
std::string textOf(const std::vector<StayRow>& stays) {
    std::ostringstream text;
    for (const StayRow& stay : stays) {
        text << double(stay.from) / kMinute << '-' << double(stay.to) / kMinute << " of "
             << stay.fixes << ' ';
    }
    return text.str();
}

SessionOptions withLate(std::optional<std::int64_t> late) {
    SessionOptions options;
    options.late = late;
    return options;
}

using Change = void (*)(StayOptions&);

TEST(Stays, AreWhatTheOptionsSay) {
    const Change none = [](StayOptions&) {};
    const std::vector<Piece> trip = {{0, 21}, {1000, 6}, {0, 21}};
    const struct {
        const char* about;
        Change change;
        std::vector<Piece> pieces;
        const char* found;
    } rows[] = {
        {"long enough", none, {{0, 16}}, "0-15 of 16 "},
        {"too short", none, {{0, 15}}, ""},
        {"as short as asked for",
         [](StayOptions& o) { o.minStay = 14 * kMinute; },
         {{0, 15}},
         "0-14 of 15 "},
        {"within the radius", none, {{0, 21}, {180, 21}}, "0-41 of 42 "},
        {"beyond a smaller one",
         [](StayOptions& o) { o.radius = 150; },
         {{0, 21}, {180, 21}},
         "0-20.5 of 21 20.5-41 of 21 "},
        {"away for too long", none, trip, "0-20.5 of 21 26.5-47 of 21 "},
        {"away for a while", none, {{0, 21}, {1000, 5}, {0, 21}}, "0-46 of 42 "},
        {"away for less than allowed", [](StayOptions& o) { o.maxAway = 6 * kMinute; }, trip,
         "0-47 of 42 "},
        {"a stray fix ends nothing", none, {{0, 21, 20}, {1000, 1}, {0, 21, 20}}, "0-821 of 42 "},
        {"but where none may",
         [](StayOptions& o) { o.maxAway = 0; },
         {{0, 21}, {1000, 1}, {0, 21}},
         "0-20.5 of 21 21.5-42 of 21 "},
        {"fixes that may be anywhere",
         none,
         {{0, 21}, {1000, 6, 1, 201.0}, {0, 21}},
         "0-47 of 42 "},
        {"fixes that may be anywhere, taken",
         [](StayOptions& o) { o.maxAccuracy = 201.0; },
         {{0, 21}, {1000, 6, 1, 201.0}, {0, 21}},
         "0-20.5 of 21 26.5-47 of 21 "},
        {"perhaps within", none, {{0, 21}, {300, 9, 1, 51.0}, {0, 21}}, "0-50 of 42 "},
        {"hardly within",
         none,
         {{0, 21}, {300, 9, 1, 49.0}, {0, 21}},
         "0-20.5 of 21 29.5-50 of 21 "},
        {"a silence at the place", none, {{0, 16}, {0, 1, 600}, {0, 16}}, "0-631 of 33 "},
        {"as long as may be", none, {{0, 15}, {0, 1, kDay}, {0, 16}}, "0-1470 of 32 "},
        {"too long", none, {{0, 15}, {0, 1, kDay + 1}, {0, 16}}, "0-15 of 16 1456-1471 of 16 "},
        {"longer than is bridged",
         [](StayOptions& o) { o.maxBridge = o.maxGap; },
         {{0, 15}, {0, 1, 61}, {0, 16}},
         "0-15 of 16 76-91 of 16 "},
        {"elsewhere before a silence",
         none,
         {{0, 16}, {1000, 1, 61}, {0, 16}},
         "0-15.5 of 16 47-92 of 16 "},
        {"elsewhere after a silence",
         none,
         {{0, 15}, {0, 1, 61}, {1000, 1}, {0, 16}},
         "0-45 of 16 76.5-92 of 16 "},
        {"elsewhere about a short one",
         none,
         {{0, 15}, {0, 1, 60}, {1000, 1, 60}, {0, 16}},
         "0-150 of 32 "},
        {"a longer gap allowed",
         [](StayOptions& o) { o.maxGap = 61 * kMinute; },
         {{0, 16}, {1000, 1, 61}, {0, 16}},
         "0-92 of 32 "},
        {"walking", none, {{0, 90, 1, 10.0, 60.0}}, ""},
        {"walking to a place and from it",
         none,
         {{-1800, 30, 1, 10.0, 60.0}, {0, 31}, {60, 30, 1, 10.0, 60.0}},
         "29.5-61.5 of 32 "},
        {"driving to it and from it",
         none,
         {{-3000, 5, 1, 10.0, 600.0}, {0, 31}, {600, 5, 1, 10.0, 600.0}},
         "4.5-35.5 of 31 "},
        {"every twenty minutes",
         none,
         {{0, 4, 20}, {3000, 1, 20}, {9000, 3, 20}},
         "0-70 of 4 90-140 of 3 "},
        {"a wild first fix", none, {{5000, 1}, {0, 16}}, "0.5-16 of 16 "},
        {"a third of it shown", none, {{0, 5}, {0, 1, 20}, {3000, 2}}, "0-15 of 6 "},
        {"less of it shown", none, {{0, 4}, {0, 1, 59}, {3000, 2}}, ""},
        {"a silence that might be bridged, before elsewhere",
         none,
         {{0, 15}, {0, 1, kDay}, {1000, 16}},
         "0-45 of 16 1425-1470 of 16 "},
        {"a silence beyond",
         none,
         {{0, 15}, {0, 1, kDay + 1}, {1000, 16}},
         "0-15 of 16 1456-1471 of 16 "},
        {"so many wait that they are no strays",
         [](StayOptions& o) { o.maxAway = kDay * kMinute; },
         {{0, 60}, {1000, 65}, {0, 60}},
         "0-59.5 of 60 59.5-124.5 of 65 124.5-184 of 60 "},
        {"a single fix, where that is enough",
         [](StayOptions& o) { o.minStay = 0; },
         {{0, 1}, {900, 1}},
         "0-0.5 of 1 0.5-1 of 1 "},
    };
    for (const auto& [about, change, pieces, found] : rows) {
        StayOptions options;
        change(options);
        const Fixes fixes = play(pieces);
        EXPECT_EQ(textOf(findStays(fixes, options)), found) << about;
        Fixes reversed; // in time: nothing here has a direction, but for where it is heard of first
        for (auto fix = fixes.rbegin(); fix != fixes.rend(); ++fix) {
            reversed.push_back(*fix);
        }
        EXPECT_EQ(textOf(findStays(reversed, options, withLate(kEver))), found) << about;
    }
}

TEST(Stays, BeginWholeSecondsBeforeTheirFixes) {
    Fixes fixes = play({{5000, 1}, {0, 16}});
    ++fixes.front().time; // so that the silence is 59,999 ms
    EXPECT_EQ(findStays(fixes).front().from, kMinute - 29'000);
}

/// Metres along the ellipsoid.
double metres(double lat1, double lon1, double lat2, double lon2) {
    constexpr int kVincenty = 3;
    return qorvel::distanceByMetric(kVincenty, qorvel::PointGeodetic128(lat1, lon1),
                                    qorvel::PointGeodetic128(lat2, lon2));
}

/// Root of the weighted mean of squared distances, and the greatest one.
std::pair<double, double> spreadAbout(double lat, double lon, const Fixes& fixes) {
    double weights = 0.0;
    double sum = 0.0;
    double most = 0.0;
    for (const world::SceneFix& fix : fixes) {
        const double distance = metres(lat, lon, fix.lat, fix.lon);
        const double weight = 1.0 / std::pow(std::max(fix.accuracy, 1.0), 2);
        weights += weight;
        sum += weight * distance * distance;
        most = std::max(most, distance);
    }
    return {std::sqrt(sum / weights), most};
}

double aroundTheWorld(double lon) {
    return lon - 360.0 * std::floor((lon + 180.0) / 360.0);
}

TEST(Stays, LieWhereTheirFixesAreAnywhereOnEarth) {
    for (const double lat : {0.0, 48.0, -84.0, 89.9999, 90.0, -90.0}) {
        for (const double lon : {0.0, -77.0, 180.0, -179.9997}) {
            Fixes fixes;
            for (int i = 0; i < 60; ++i) {
                const double north = between(-60.0, 60.0) / 111700.0;
                const double parallel =
                    111700.0 * std::max(1e-3, std::cos(lat * 0.017453292519943295));
                const bool isPole = std::abs(lat) > 89.9;
                const double fixLat =
                    isPole ? std::copysign(90.0 - std::abs(north), lat) : lat + north;
                const double fixLon =
                    isPole ? between(-180.0, 180.0) : lon + between(-60.0, 60.0) / parallel;
                fixes.push_back(
                    {1, i * kMinute, fixLat, aroundTheWorld(fixLon), between(0.0, 30.0)});
            }
            const std::vector<StayRow> stays = findStays(fixes);
            ASSERT_EQ(textOf(stays), "0-59 of 60 ") << lat << ' ' << lon;
            const StayRow& stay = stays.front();
            const auto [spread, farthest] = spreadAbout(stay.lat, stay.lon, fixes);
            EXPECT_NEAR(stay.spread, spread, 1e-3);
            EXPECT_LE(stay.farthest, farthest + 1e-3);
            EXPECT_GE(stay.farthest, 0.8 * farthest);
            for (const double off : {-1e-5, 1e-5}) { // no other place has less
                EXPECT_GT(
                    spreadAbout(std::abs(stay.lat + off) > 90.0 ? stay.lat - off : stay.lat + off,
                                stay.lon, fixes)
                        .first,
                    spread);
                EXPECT_GT(spreadAbout(stay.lat,
                                      stay.lon + off * (std::abs(stay.lat) > 89.0 ? 1e4 : 1.0),
                                      fixes)
                              .first,
                          spread - 1e-9);
            }
        }
    }
}

/// As input is seldom: entities in turn, times up to half an hour late, several of the same time.
Fixes disorder(Fixes fixes) {
    std::vector<std::pair<std::int64_t, world::SceneFix>> byArrival;
    for (const world::SceneFix& fix : fixes) {
        byArrival.emplace_back(fix.time + static_cast<std::int64_t>(random_() % 1'800'000), fix);
    }
    std::sort(byArrival.begin(), byArrival.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
    std::transform(byArrival.begin(), byArrival.end(), fixes.begin(),
                   [](const auto& entry) { return entry.second; });
    return fixes;
}

TEST(Stays, HangOnTheFixesOfTheEntityAlone) {
    for (world::SceneKind kind : world::sceneKinds()) {
        const bool isDense = kind.longestPause <= 1.0;
        kind.entities = isDense ? 1 : 4;
        kind.days = isDense ? 1 : 6;
        world::StayScene scene = world::makeScene(kind, 3);
        for (world::SceneFix& fix : scene.fixes) {
            fix.time -= fix.time % 120000; // ties
        }
        const std::vector<StayRow> model =
            byEntity(findStays(scene.fixes)); // one entity after the other
        for (std::size_t i = 1; i < model.size(); ++i) {
            ASSERT_TRUE(model[i - 1].entity != model[i].entity || model[i - 1].to <= model[i].from);
            ASSERT_GE(model[i].to - model[i].from, StayOptions().minStay);
        }
        const Fixes mixed = disorder(scene.fixes);
        SessionOptions several;
        several.threads = 3;
        EXPECT_EQ(byEntity(findStays(mixed)), model) << kind.name;
        EXPECT_EQ(byEntity(findStays(mixed, {}, several, 1000)), model) << kind.name;
        const std::vector<StayRow> known = findStays(mixed, {}, several, 1000, true);
        EXPECT_EQ(byEntity(known), model) << kind.name;
        EXPECT_EQ(findStays(mixed, {}, {}, 77, true), known) << kind.name;
        several.late = 1'800'000;
        EXPECT_EQ(byEntity(findStays(mixed, {}, several, 1000, true)), model) << kind.name;
    }
}

TEST(Stays, AreTheSameAllAroundTheWorld) {
    world::SceneKind kind = world::sceneKinds().front();
    kind.entities = 3;
    const world::StayScene scene = world::makeScene(kind, 4);
    const std::vector<StayRow> model = findStays(scene.fixes);
    for (const double turn : {168.3, -191.6, 90.0}) {
        for (const double side : {1.0, -1.0}) {
            Fixes fixes = scene.fixes;
            for (world::SceneFix& fix : fixes) {
                fix.lat *= side;
                fix.lon = aroundTheWorld(side * fix.lon + turn);
            }
            const std::vector<StayRow> stays = findStays(fixes);
            ASSERT_EQ(textOf(stays), textOf(model));
            for (std::size_t i = 0; i < stays.size(); ++i) {
                EXPECT_LT(metres(stays[i].lat, stays[i].lon, side * model[i].lat,
                                 aroundTheWorld(side * model[i].lon + turn)),
                          1e-3);
                EXPECT_NEAR(stays[i].spread, model[i].spread, 1e-3);
            }
        }
    }
}

/// Rows of a scene, and of how many of them a stay needs to come.
TEST(Stays, ComeAsSoonAsTheyAreFinal) {
    const Fixes trip = play({{0, 21}, {1000, 30}});
    Fixes two = play({{0, 21}});
    for (world::SceneFix fix : play({{5000, 15, 110}})) {
        fix.entity = 2;
        two.push_back(fix);
    }
    const struct {
        const Fixes& fixes;
        std::optional<std::int64_t> late;
        bool isOldestKnown;
        std::size_t rows; ///< with the first stay
    } rows[] = {
        {trip, 0, false, 28}, // the sixth elsewhere is followed by another
        {trip, 10 * kMinute, false, 38},
        {trip, {}, false, 52}, // an hour has not passed
        {trip, {}, true, 27},  // the next row is known to be no earlier
        {two, 0, false, 37},   // who is silent may come again
        {two, 0, true, 35},    // 24 hours are known to have passed
    };
    for (const auto& [fixes, late, isOldestKnown, count] : rows) {
        const std::vector<StayRow> stays = findStays(fixes, {}, withLate(late), 1, isOldestKnown);
        ASSERT_FALSE(stays.empty());
        EXPECT_EQ(stays.front().rows, count) << late.value_or(-1) << isOldestKnown;
    }
}

TEST(Stays, LeaveOutWhatIsLaterThanPromised) {
    Fixes fixes = play({{0, 60}, {1000, 60}});
    fixes.push_back({1, 59 * kMinute, 0.0, 0.0, 10.0}); // an hour before the newest
    fixes.push_back({1, 59 * kMinute - 1, 0.0, 0.0, 10.0});
    EXPECT_EQ(textOf(findStays(fixes)), "0-59.5 of 61 59.5-119 of 60 ");
}

TEST(Stays, StandExtremes) {
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
    StayOptions patient{100000.0, 0, kMost, kMost, kMost, std::numeric_limits<double>::infinity()};
    const StayOptions strict{1e-300, 0, 0, 0, 0, 0.0};
    Fixes fixes;
    for (const std::int64_t time : {INT64_C(0), INT64_C(1), kMost - 1, kMost}) {
        for (const double lat : {-90.0, 0.0, 90.0}) {
            for (const double accuracy : {0.0, 1e-320, std::numeric_limits<double>::max()}) {
                fixes.push_back({1, time, lat, lat * 2.0, accuracy});
                fixes.push_back({2, time, 0.0, 180.0, accuracy});
            }
        }
    }
    for (const StayOptions& options : {patient, strict, StayOptions()}) {
        for (const StayRow& stay : findStays(fixes, options, withLate(kEver))) {
            EXPECT_TRUE(std::isfinite(stay.spread) && std::isfinite(stay.farthest));
            EXPECT_TRUE(std::abs(stay.lat) <= 90.0 && std::abs(stay.lon) <= 180.0);
        }
    }
}

TEST(Stays, AreFoundInScenesThatTheyWereNotFittedOn) {
    for (world::SceneKind kind : world::sceneKinds()) {
        kind.entities = 4;
        kind.days = std::min(kind.days, kind.longestPause > 1.0 ? 7U : 1U);
        const world::StayScene scene = world::makeScene(kind, 5);
        std::vector<world::SceneStay> found;
        for (const StayRow& row : byEntity(findStays(scene.fixes))) {
            found.push_back({row.entity, row.from, row.to, row.lat, row.lon});
        }
        world::StayScore score;
        score.add(scene, found);
        EXPECT_GE(score.f1(), score.bestF1() - 0.01) << kind.name;
        EXPECT_LE(score.splitShare() + score.mergedShare(), 0.01) << kind.name;
        EXPECT_LE(score.placeMetres(0.9), 50.0) << kind.name;
        EXPECT_LE(score.beginMinutes(0.5), std::max(0.6, kind.longestPause / 120.0)) << kind.name;
    }
}

} // namespace
