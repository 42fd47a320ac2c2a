// What is made of records and boxes: last records, stays, meetings.
#include "tools/commands/MeetAnalysis.h"
#include "tools/commands/StaysAnalysis.h"
#include "tools/run/LastRecords.h"
#include "tools/setup/EventMaker.h"
#include "tools/setup/makeProcessor.h"
#include "tools/world/World.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <list>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <unordered_set>
#include <vector>

namespace {

using namespace host;

constexpr std::int64_t kMinute = 60000;
constexpr std::int64_t kHour = 60 * kMinute;

std::mt19937_64 random_(20);

/// One of the options.
template <typename T>
T pick(std::initializer_list<T> options) {
    return std::data(options)[random_() % options.size()];
}

Config config(ProcessorKind use) {
    Config one;
    one.masters.resize(1);
    one.assignments.resize(1);
    one.hangouts.resize(use == ProcessorKind::hangouts ? 1 : 0);
    return one;
}

template <typename Visit>
void forEachEvent(const std::vector<Fix>& fixes, Visit visit) {
    EventMaker events({30.0, 1});
    Event event;
    for (const Fix& fix : fixes) {
        EXPECT_EQ(events.make(fix, event), "");
        visit(fix, event);
    }
}

/// Runs one shard; every so many fixes what none to come can need is forgotten.
std::vector<ResultRow> run(Analysis& analysis, const std::vector<Fix>& fixes,
                           std::size_t between = 50) {
    struct Seeing : Found {
        explicit Seeing(Analysis& theAnalysis) : analysis(theAnalysis) {}
        void add(const ResultRow&) override {}
        void add(const SeenBox& box) override { analysis.see(box); }
        Analysis& analysis;
    } seeing(analysis);
    const std::unique_ptr<Shard> shard = analysis.makeShard();
    std::vector<std::int64_t> oldest(fixes.size() + 1, INT64_MAX); // from a fix to the end
    for (std::size_t i = fixes.size(); i-- > 0;) {
        oldest[i] = std::min(oldest[i + 1], fixes[i].time);
    }
    std::size_t row = 0;
    forEachEvent(fixes, [&](const Fix& fix, const Event& event) {
        shard->take({fix, event, row}, seeing);
        if (++row % between == 0) {
            shard->collect(oldest[row] - analysis.lookBack());
            analysis.collect(oldest[row] - analysis.lookBack());
        }
    });
    std::vector<LastResult> results;
    shard->finish(results);
    analysis.finish(results);
    std::vector<ResultRow> rows(results.size());
    std::transform(results.begin(), results.end(), rows.begin(),
                   [](const LastResult& last) { return last.result; });
    return rows;
}

std::string textOf(std::initializer_list<std::int64_t> figures) {
    std::string text;
    for (const std::int64_t figure : figures) {
        text += std::to_string(figure) + ' ';
    }
    return text;
}

std::vector<Fix> fixesOf(const world::World& world) {
    std::vector<Fix> fixes;
    for (const world::Fix& fix : world.fixes) {
        const std::string& name = world.entities[fix.entity];
        fixes.push_back({name, fix.lat, fix.lon, fix.timeMs, fix.accuracyM, "", ""});
    }
    return fixes;
}

TEST(LastRecords, BeginAsTheProcessorReports) {
    std::uint64_t reports = 0;
    for (int round = 0; round < 150; ++round) {
        const ProcessorKind use = pick({ProcessorKind::presence, ProcessorKind::hangouts});
        Config any;
        for (const char* name : {"a", "b"}) {
            any.masters.push_back({name, pick({5U, 6U, 7U}), {pick({1U, 2U}), "hours"}, 0});
        }
        any.assignments.resize(1 + random_() % 4);
        for (Config::Assignment& row : any.assignments) {
            row.primaryKey = pick({"ANY", "car", "bike"});
            row.secondaryKey = pick({"", "", "night"});
            row.maxSpaceTolerance = pick({1e9, 1e9, 60.0});
            row.master = pick({"a", "b"});
            row.geohashes = pick<std::list<std::string>>({{}, {"7zz", "s0"}});
            row.radius = pick({row.radius, 900.0});
        }
        auto& specs = use == ProcessorKind::presence ? any.presence : any.hangouts;
        for (std::uint64_t count = 1 + random_() % 4; count > 0; --count) {
            const Span window{pick({5U, 15U}), "minutes"};
            specs.push_back({pick({"ANY", "ANY", "car"}), "", pick({"a", "b"}), window,
                             pick({1U, 3U}), pick({1.0, 0.3}), 0});
        }
        const Tables library(any, use);
        MotionProcessor processor = makeProcessor(library);
        LastRecords records(library);
        std::unordered_set<RecordKey, RecordKeyHash> known;
        std::vector<Fix> fixes;
        for (std::int64_t time = kHour; time < 3 * kHour; time += kMinute) {
            const auto off = [] { return static_cast<double>(random_() % 100) * 2e-5; };
            const double latitude = random_() % 40 == 0 ? 90.0 : off(); // where no cell is
            fixes.push_back({pick({"x", "y"}), latitude, off() - 1e-3, time, pick({20.0, 500.0}),
                             pick({"car", ""}), pick({"", "", "night"})});
        }
        forEachEvent(fixes, [&](const Fix& fix, const Event& event) {
            std::list<STBCompressedEvent> out;
            use == ProcessorKind::presence
                ? processor.processEventForPresenceCompression(event, out)
                : processor.processEventForHangout(event, out);
            records.take(event, [&](const STBCompressedEvent& record, const STBCompressionSpec&) {
                if (known.insert(RecordKey(record)).second) {
                    ASSERT_FALSE(out.empty()) << round;
                    EXPECT_EQ(RecordKey(record), RecordKey(out.front())) << round;
                    out.pop_front();
                    ++reports;
                }
            });
            EXPECT_TRUE(out.empty()) << round;
            if (fix.time == 2 * kHour) {
                processor.gc(fix.time - 10 * kMinute);
                records.collect(fix.time - 10 * kMinute);
            }
        });
    }
    EXPECT_GT(reports, 1000U);
}

TEST(Stays, AreWhatAPersonMeansByThem) {
    struct Leg {
        std::int64_t from, to; // minutes; a fix at each
        double x, y = 0.0;     // in cells; the middle of one is 0, 0
        double speed = 0.0;    // in x, a minute
    };
    constexpr double kLat = 180.0 / 32768; // of a cell
    constexpr double kLon = 360.0 / 32768;
    const struct {
        const char* what;
        std::vector<Leg> legs;
        std::string
            stays; // minutes from the first to the last fix, how many, cells, x of the place
        double lon = kLon / 2;
    } rows[] = {
        {"over two boundaries", {{30, 150, 0}}, "30 149 120 1 0 , "},
        {"as short as a stay is", {{0, 16, 0}}, "0 15 16 1 0 , "},
        {"shorter", {{0, 15, 0}}, ""},
        {"on a line between cells", {{0, 90, 0.5}}, "0 89 90 2 1 , "},
        {"mostly in the east", {{0, 30, 0.5}, {30, 60, 0.6}}, "0 59 60 2 1 , "},
        {"on a corner", {{0, 90, 0.5, 0.5}}, "0 89 90 4 1 , "},
        {"on longitude 180", {{0, 90, 0.5}}, "0 89 90 2 0 , ", 180.0 - kLon / 2 - 1e-9},
        {"across a line", {{0, 30, 0.45}, {30, 60, 0.5}, {60, 90, 0.55}}, "0 89 90 2 0 , "},
        {"stray fixes", {{0, 60, 0}, {60, 75, 5}, {75, 120, 0}}, "0 119 105 1 0 , "},
        {"elsewhere for the window",
         {{0, 60, 0}, {60, 76, 5}, {76, 120, 0}},
         "0 59 60 1 0 , 60 75 16 1 5 , 76 119 44 1 0 , "},
        {"late reports between few near",
         {{0, 60, 0},
          {60, 61, 5},
          {61, 62, 0},
          {69, 70, 0},
          {77, 78, 0},
          {61, 77, 5},
          {78, 120, 0}},
         "0 119 118 2 0 , "},
        {"late inside an earlier stay",
         {{0, 60, 0}, {60, 80, 5}, {20, 40, 0}},
         "0 59 60 1 0 , 20 39 20 1 0 , 60 79 20 1 5 , "},
        {"silent for a time box", {{0, 60, 0}, {119, 150, 0}}, "0 149 91 1 0 , "},
        {"silent for longer", {{0, 60, 0}, {120, 150, 0}}, "0 59 60 1 0 , 120 149 30 1 0 , "},
        {"next door", {{0, 60, 0}, {60, 120, 1}}, "0 59 60 1 0 , 60 119 60 1 1 , "},
        {"crawling", {{0, 100, -0.49, 0, 0.02}}, "0 50 51 1 0 , 49 99 51 1 1 , "},
        {"late reports",
         {{100, 130, 0}, {20, 21, 5}, {105, 106, 5}, {130, 131, 5}, {131, 160, 0}},
         "100 159 59 1 0 , "},
    };
    const Tables library(config(ProcessorKind::hangouts), ProcessorKind::hangouts);
    for (const auto& [what, legs, expected, lon] : rows) {
        std::vector<Fix> fixes;
        for (const Leg& leg : legs) {
            for (std::int64_t minute = leg.from; minute < leg.to; ++minute) {
                const double x = leg.x + leg.speed * static_cast<double>(minute - leg.from);
                fixes.push_back({"a", (leg.y + 0.5) * kLat, std::remainder(lon + x * kLon, 360.0),
                                 kHour + minute * kMinute, 20.0, "", ""});
            }
        }
        StaysAnalysis analysis(library);
        std::string found;
        for (const ResultRow& stay : run(analysis, fixes)) {
            const std::vector<Value>& values = stay.values;
            found += textOf({(values[5].whole - kHour) / kMinute,
                             (values[6].whole - kHour) / kMinute, values[8].whole, values[9].whole,
                             std::lround(std::remainder(values[4].real - lon, 360.0) / kLon)}) +
                     ", ";
        }
        EXPECT_EQ(found, expected) << what;
    }
}

TEST(Stays, AreTheHangoutRecordsTogether) {
    const std::vector<Fix> fixes = fixesOf(world::makeWorld({40, 2, 9}));
    const Tables library(config(ProcessorKind::hangouts), ProcessorKind::hangouts);
    StaysAnalysis analysis(library);
    const std::vector<ResultRow> stays = run(analysis, fixes);
    std::vector<std::set<std::uint64_t>> events(stays.size());
    std::vector<std::set<std::int64_t>> times(stays.size());
    LastRecords records(library);
    forEachEvent(fixes, [&](const Fix& fix, const Event& event) {
        records.take(event, [&](const STBCompressedEvent& record, const STBCompressionSpec&) {
            const auto holds = [&](const ResultRow& stay) {
                return stay.values[0].text == fix.entity &&
                       stay.values[5].whole <= record.firstTime &&
                       stay.values[6].whole >= record.endTime - 1 &&
                       std::count<decltype(stay.cells.begin()), SpaceBox>(
                           stay.cells.begin(), stay.cells.end(), record.stb) == 1;
            };
            const auto stay = std::find_if(stays.begin(), stays.end(), holds);
            ASSERT_NE(stay, stays.end());
            const auto at = static_cast<std::size_t>(stay - stays.begin());
            for (const std::uint64_t number : record.eventSequenceNumbers) {
                events[at].insert(number);
            }
            times[at].insert({record.firstTime, record.endTime - 1});
        });
    });
    EXPECT_GT(stays.size(), 200U);
    for (std::size_t i = 0; i < stays.size(); ++i) {
        EXPECT_EQ(stays[i].values[5].whole, *times[i].begin());
        EXPECT_EQ(stays[i].values[6].whole, *times[i].rbegin());
        EXPECT_LE(
            std::abs(*times[i].rbegin() - *times[i].begin() - stays[i].values[7].whole * kMinute),
            kMinute / 2);
        EXPECT_EQ(stays[i].values[8].whole, std::ssize(events[i]));
    }
}

TEST(Stays, HangOnTheFixesOfTheirEntityAlone) {
    const auto off = [] { return static_cast<double>(random_() % 9) * 5e-4; };
    for (int round = 0; round < 16; ++round) {
        Config any = config(ProcessorKind::hangouts);
        any.masters.front().cellLength = pick({6U, 7U});
        any.masters.front().box = {pick({4U, 12U}), "minutes"};
        any.hangouts.front().window = {pick({1U, 3U}), "minutes"};
        any.hangouts.front().minCount = pick({1U, 3U});
        const Tables library(any, ProcessorKind::hangouts);
        const auto staysOf = [&](const std::vector<Fix>& fixes, std::size_t between) {
            StaysAnalysis analysis(library);
            std::vector<std::string> stays;
            for (const ResultRow& stay : run(analysis, fixes, between)) {
                const std::vector<Value>& values = stay.values;
                stays.push_back(values[0].text + ' ' +
                                textOf({values[5].whole, values[6].whole, values[8].whole}));
                for (const SpaceBox& cell : stay.cells) {
                    stays.back() += cell.toASCIIString() + ' ';
                }
            }
            return stays;
        };
        std::vector<Fix> fixes;
        std::map<std::string, std::vector<Fix>> byEntity;
        std::map<std::string, std::pair<double, double>> places;
        for (std::int64_t time = kHour; time < 20 * kHour; time += kMinute / 2) {
            const std::string entity = pick({"x", "y", "z"});
            auto& [latitude, longitude] = places[entity];
            if (random_() % 12 == 0) {
                std::tie(latitude, longitude) = std::pair(off(), off());
            }
            const auto late = static_cast<std::int64_t>(random_() % 20) * kMinute;
            fixes.push_back({entity, latitude, longitude, time - (random_() % 20 ? 0 : late),
                             pick({20.0, 90.0, 400.0}), "", ""});
            byEntity[entity].push_back(fixes.back());
        }
        std::vector<std::string> together = staysOf(fixes, 7);
        EXPECT_EQ(staysOf(fixes, SIZE_MAX), together) << round;
        std::vector<std::string> alone;
        for (const auto& [entity, own] : byEntity) {
            const std::vector<std::string> stays = staysOf(own, 7);
            alone.insert(alone.end(), stays.begin(), stays.end());
        }
        std::sort(alone.begin(), alone.end());
        std::sort(together.begin(), together.end());
        EXPECT_EQ(alone, together) << round;
    }
}

// How much of the time of true stays is found within 600 m of the place, in its cell, how much of
// what is found is true, and whether there are as many stays (of 20 minutes and more), neither
// split nor merged. Nearly the same with any seed: the rest are stops too short for a hangout,
// breaks that leave no record, slow walks, and errands near by.
TEST(Stays, AgreeWithTheTruthOfTheSampleWorld) {
    const world::World world = world::makeWorld({100, 2, 5});
    const Tables library(config(ProcessorKind::hangouts), ProcessorKind::hangouts);
    StaysAnalysis analysis(library);
    double trueTime = 0, foundTime = 0, common = 0, trueCount = 0, foundCount = 0;
    for (const ResultRow& row : run(analysis, fixesOf(world))) {
        const auto& stay = row.values;
        const auto length = static_cast<double>(stay[6].whole - stay[5].whole);
        foundTime += length;
        foundCount += length >= 20 * kMinute;
        for (const world::Stay& truth : world.stays) {
            if (stay[0].text == world.entities[truth.entity] &&
                std::hypot((stay[3].real - truth.lat) * 111.3, (stay[4].real - truth.lon) * 65) <
                    1) {
                common += static_cast<double>(
                    std::max(std::int64_t{0}, std::min(stay[6].whole, truth.toMs) -
                                                  std::max(stay[5].whole, truth.fromMs)));
            }
        }
    }
    for (const world::Stay& truth : world.stays) {
        const auto length = static_cast<double>(truth.toMs - truth.fromMs);
        trueTime += length;
        trueCount += length >= 20 * kMinute;
    }
    EXPECT_GE(common / trueTime, 0.95);
    EXPECT_GE(common / foundTime, 0.97);
    EXPECT_NEAR(foundCount / trueCount, 1.0, 0.08);
}

/// By the definition: the figures of all pairs in all boxes, which are kept to the end, with the
/// cell of the first; and how many boxes had more entities, if any.
std::multiset<std::string> meetingsOf(const Tables& library, const std::vector<Fix>& fixes,
                                      std::size_t maxEntities) {
    struct Meeting {
        std::int64_t boxes = 0;
        std::set<std::pair<std::int64_t, std::int64_t>> timeBoxes;
        std::set<std::int64_t> times;
        std::string cell;
    };
    std::map<std::string, Meeting> meetings;
    std::map<std::tuple<std::int64_t, std::int64_t, std::string, std::uint32_t>,
             std::map<std::string, std::int64_t>>
        visitors;
    std::set<decltype(visitors)::key_type> cut;
    forEachEvent(fixes, [&](const Fix& fix, const Event& event) {
        std::list<SpaceTimeBox> boxes;
        makeProcessor(library).getSTB(event, boxes);
        for (const SpaceTimeBox& box : boxes) {
            const std::string cell = box.toASCIIString();
            const std::tuple key(box.start, box.end, cell, box.getGeoHashBitDepth());
            auto& here = visitors[key];
            if (here.count(fix.entity) == 0 && here.size() == maxEntities) {
                cut.insert(key);
            } else if (here.try_emplace(fix.entity, fix.time).second) {
                for (const auto& [other, time] : here) {
                    const auto [a, b] = std::minmax(other, fix.entity);
                    Meeting& meeting = meetings[a + ' ' + b + ' '];
                    meeting.cell = ++meeting.boxes == 1 ? cell : meeting.cell;
                    meeting.timeBoxes.emplace(box.start, box.end);
                    meeting.times.insert(std::max(time, fix.time));
                }
                meetings.erase(fix.entity + ' ' + fix.entity + ' ');
            }
        }
    });
    std::multiset<std::string> rows;
    if (!cut.empty()) {
        rows.insert(std::to_string(cut.size()) + " boxes");
    }
    for (const auto& [names, meeting] : meetings) {
        rows.insert(names + meeting.cell + ' ' +
                    textOf({meeting.boxes, std::ssize(meeting.timeBoxes), *meeting.times.begin(),
                            *meeting.times.rbegin()}));
    }
    return rows;
}

TEST(Meetings, AreAllPairsThatShareABox) {
    Config two = config(ProcessorKind::boxes);
    two.masters.push_back({"wide", 5, {3, "hours"}, 0});
    two.masters.front().cellLength = 7;
    two.assignments.push_back(two.assignments.front());
    two.assignments.back().master = "wide";
    const Tables library(two, ProcessorKind::boxes);
    for (int round = 0; round < 30; ++round) {
        std::vector<Fix> fixes;
        for (std::int64_t i = 0; i < 400; ++i) {
            const auto off = [] { return static_cast<double>(random_() % 100) * 2e-4; };
            const auto late = static_cast<std::int64_t>(random_() % 60) * (round % 2);
            fixes.push_back({"e" + std::to_string(random_() % 12), off(), off(),
                             2 * kHour + (2 * i - late) * kMinute, 60.0, "", ""});
        }
        const std::uint32_t most = round % 3 == 0 ? 3 : 12;
        MeetAnalysis analysis(library, most);
        const std::vector<ResultRow> rows = run(analysis, fixes);
        std::multiset<std::string> found;
        for (const ResultRow& row : rows) {
            const std::vector<Value>& values = row.values;
            found.insert(
                values[0].text + ' ' + values[1].text + ' ' + values[6].text + ' ' +
                textOf({values[2].whole, values[3].whole, values[4].whole, values[5].whole}));
        }
        for (const std::string& remark : analysis.remarks()) {
            found.insert(remark.substr(0, remark.find(" had more than ")));
        }
        ASSERT_EQ(found, meetingsOf(library, fixes, most)) << "round " << round;
        EXPECT_TRUE(std::is_sorted(rows.begin(), rows.end(), [](const auto& a, const auto& b) {
            return std::tuple(-a.values[2].whole, a.values[4].whole, a.values[0].text) <
                   std::tuple(-b.values[2].whole, b.values[4].whole, b.values[0].text);
        }));
    }
}

} // namespace
