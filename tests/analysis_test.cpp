// What analyses find, through sessions that push in any batches to any number of threads: beside
// what the library reports, slow models, and the truth of the sample world.
#include "engine/columns/EntityDictionary.h"
#include "engine/columns/Fault.h"
#include "engine/run/Session.h"
#include "program/commands/EventMaker.h"
#include "program/commands/makeProcessor.h"
#include "program/input/FixBatch.h"
#include "testing/world/World.h"

#include "qorvel/processor/detail/FigureProcessor.h"

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
#include <utility>
#include <vector>

namespace {

using namespace qorvel_engine;
using program::Fix;
using Texts = std::vector<std::string>;

constexpr std::int64_t kMinute = 60000;
constexpr std::int64_t kHour = 60 * kMinute;
constexpr std::uint32_t kTimeTolerance = 1;

std::mt19937_64 random_(20);

/// One of the options.
template <typename T>
T pick(std::initializer_list<T> options) {
    return std::data(options)[random_() % options.size()];
}

/// A row's values, as they are printed.
Texts valuesOf(const ResultTable& table, std::size_t row) {
    Texts values;
    for (std::size_t i = 0; i < table.schema().columns.size(); ++i) {
        const ResultKind kind = table.schema().columns[i].kind;
        std::string& value = values.emplace_back();
        if (kind == ResultKind::entity) {
            table.names().append(table.entity(row, i), value);
        } else {
            value = kind == ResultKind::text      ? std::string(table.text(row, i))
                    : kind == ResultKind::degrees ? testing::PrintToString(table.real(row, i))
                    : kind == ResultKind::metres  ? testing::PrintToString(table.real(row, i))
                                                  : std::to_string(table.whole(row, i));
        }
    }
    return values;
}

/// All results as values, and the first words of each remark as one value.
std::vector<Texts> ask(const AnalysisOptions& options, const Config& config,
                       const std::vector<Fix>& fixes) {
    SessionOptions how;
    how.threads = pick({1U, 2U, 5U});
    how.timeTolerance = kTimeTolerance;
    Session session(options, config, how);
    std::vector<std::int64_t> oldest(fixes.size() + 1, INT64_MAX);
    for (std::size_t i = fixes.size(); i-- > 0;) {
        oldest[i] = std::min(oldest[i + 1], fixes[i].time);
    }
    for (std::size_t row = 0; row < fixes.size();) {
        const auto batch = std::make_shared<program::FixBatch>();
        for (std::size_t count = pick({1U, 30U, 999U}); count > 0 && row < fixes.size(); --count) {
            batch->append(fixes[row++]);
        }
        session.push(batch->observations(), batch, oldest[row]);
    }
    session.finish();
    std::vector<Texts> results;
    while (const std::optional<ResultBatch> batch = session.take()) {
        for (std::size_t row = 0; row < batch->table.size(); ++row) {
            results.push_back(valuesOf(batch->table, row));
        }
    }
    EXPECT_TRUE(session.takeRejects().empty());
    for (const std::string& remark : session.remarks()) {
        if (remark.find("older") == std::string::npos) {
            results.push_back({remark.substr(0, remark.find(" had more than "))});
        }
    }
    return results;
}

Config simpleConfig() {
    Config config;
    config.masters.resize(1);
    config.assignments.resize(1);
    config.presence.resize(1);
    config.hangouts.resize(1);
    return config;
}

template <typename Visit>
void forEachEvent(const std::vector<Fix>& fixes, Visit visit) {
    program::EventMaker events({30.0, kTimeTolerance});
    Event event;
    for (const Fix& fix : fixes) {
        ASSERT_EQ(events.make(fix, event), "");
        visit(fix, event);
    }
}

/// By the library, which says what it is of each record, and for the last figures by its rule that
/// a record is of an entity, a key, a cell and a time box.
class Reported : public qorvel_port::FigureSink {
public:
    std::vector<Texts> of(const Tables& tables, bool lastFigures, const std::vector<Fix>& fixes) {
        using Processor = qorvel_port::FigureProcessor;
        Processor processor(tables.kind() == ProcessorKind::presence ? Processor::Kind::presence
                                                                     : Processor::Kind::hangouts,
                            Processor::Wanted::every, tables.masters(), tables.assignments(),
                            tables.specs());
        lastFigures_ = lastFigures;
        forEachEvent(fixes, [&](const Fix& fix, const Event& event) {
            entity_ = &fix.entity;
            processor.process(event, *this);
        });
        return results_;
    }

    void take(const qorvel_port::Figures& found) override {
        const SpaceTimeBox& box = found.stb;
        const std::string cell = box.toASCIIString();
        const auto [place, isNew] = places_.try_emplace(
            {*entity_, found.spec.primaryKeyId, cell + std::to_string(box.getGeoHashBitDepth()),
             box.start, box.end},
            results_.size());
        if (isNew) {
            results_.emplace_back();
        }
        if (isNew || lastFigures_) {
            results_[place->second] = {*entity_, cell};
            for (const std::int64_t figure :
                 {box.start, box.end, std::int64_t{found.totalCount},
                  std::int64_t{found.beforeCount}, std::int64_t{found.afterCount}, found.firstTime,
                  found.endTime - 1, static_cast<std::int64_t>(found.eventCount)}) {
                results_[place->second].push_back(std::to_string(figure));
            }
        }
    }

private:
    const std::string* entity_ = nullptr;
    bool lastFigures_ = false;
    std::vector<Texts> results_;
    std::map<std::tuple<std::string, std::uint32_t, std::string, std::int64_t, std::int64_t>,
             std::size_t>
        places_;
};

TEST(Records, AreThoseOfTheLibraryWithFirstOrLastFigures) {
    std::size_t count = 0;
    for (int round = 0; round < 40; ++round) {
        Config config;
        for (const char* name : {"a", "b"}) {
            config.masters.push_back({name, pick({5U, 6U, 7U}), {pick({20U, 60U}), "minutes"}, 0});
        }
        config.assignments.resize(1 + random_() % 3);
        for (Config::Assignment& row : config.assignments) {
            row.primaryKey = pick({"ANY", "ANY", "car"});
            row.secondaryKey = pick({"", "", "night"});
            row.maxSpaceTolerance = pick({1e9, 1e9, 90.0});
            row.master = pick({"a", "b"});
        }
        for (auto* specs : {&config.presence, &config.hangouts}) {
            for (std::uint64_t specCount = 1 + random_() % 3; specCount > 0; --specCount) {
                const Span window{pick({1U, 5U}), "minutes"};
                specs->push_back({pick({"ANY", "ANY", "car"}), "", pick({"a", "b"}), window,
                                  pick({1U, 3U}), pick({1.0, 0.3}), 0});
            }
        }
        std::vector<Fix> fixes;
        std::vector<std::pair<double, double>> places(6);
        const auto off = [] { return static_cast<double>(random_() % 9) * 5e-4; };
        for (std::int64_t time = kHour; time < 9 * kHour; time += kMinute / 3) {
            const std::size_t entity = random_() % places.size();
            auto& [latitude, longitude] = places[entity];
            if (random_() % 12 == 0) {
                std::tie(latitude, longitude) = std::pair(off(), off());
            }
            const auto late = static_cast<std::int64_t>(random_() % 20) * kMinute;
            fixes.push_back({"e" + std::to_string(entity * 7), latitude, longitude,
                             time - (random_() % 8 ? 0 : late), pick({20.0, 90.0, 400.0}),
                             pick({"car", ""}), pick({"", "", "night"})});
        }
        const Question question = pick({Question::presence, Question::hangouts});
        const bool lastFigures = random_() % 2 == 0;
        std::vector<Texts> found = ask({question, lastFigures}, config, fixes);
        for (Texts& result : found) {
            result.erase(result.begin() + 2, result.begin() + 5); // bits and centre
        }
        const Tables tables(config, processorKindOf(question));
        ASSERT_EQ(found, Reported().of(tables, lastFigures, fixes)) << "round " << round;
        count += found.size();
    }
    EXPECT_GT(count, 5000U);
}

/// By the definition: the figures of all pairs in all boxes, which are kept to the end, with the
/// cell of the first; and how many boxes had more entities, if any.
std::multiset<Texts> meetingsOf(const Tables& tables, const std::vector<Fix>& fixes,
                                std::size_t maxEntities) {
    struct Meeting {
        std::size_t boxes = 0;
        std::set<std::pair<std::int64_t, std::int64_t>> timeBoxes;
        std::set<std::int64_t> times;
        std::string cell;
    };
    std::map<std::pair<std::string, std::string>, Meeting> meetings;
    std::map<std::tuple<std::int64_t, std::int64_t, std::string, std::uint32_t>,
             std::map<std::string, std::int64_t>>
        visitors;
    std::set<decltype(visitors)::key_type> cut;
    const MotionProcessor processor = program::makeProcessor(tables);
    forEachEvent(fixes, [&](const Fix& fix, const Event& event) {
        std::list<SpaceTimeBox> boxes;
        processor.getSTB(event, boxes);
        for (const SpaceTimeBox& box : boxes) {
            const std::string cell = box.toASCIIString();
            const std::tuple key(box.start, box.end, cell, box.getGeoHashBitDepth());
            auto& here = visitors[key];
            if (here.count(fix.entity) == 0 && here.size() == maxEntities) {
                cut.insert(key);
            } else if (here.try_emplace(fix.entity, fix.time).second) {
                for (const auto& [other, time] : here) {
                    Meeting& meeting = meetings[std::minmax(other, fix.entity)];
                    meeting.cell = ++meeting.boxes == 1 ? cell : meeting.cell;
                    meeting.timeBoxes.emplace(box.start, box.end);
                    meeting.times.insert(std::max(time, fix.time));
                }
                meetings.erase({fix.entity, fix.entity});
            }
        }
    });
    std::multiset<Texts> rows;
    if (!cut.empty()) {
        rows.insert({std::to_string(cut.size()) + " boxes"});
    }
    for (const auto& [names, meeting] : meetings) {
        rows.insert({names.first, names.second, std::to_string(meeting.boxes),
                     std::to_string(meeting.timeBoxes.size()),
                     std::to_string(*meeting.times.begin()),
                     std::to_string(*meeting.times.rbegin()), meeting.cell});
    }
    return rows;
}

TEST(Meetings, AreAllPairsThatShareABox) {
    Config two = simpleConfig();
    two.masters.push_back({"wide", 5, {3, "hours"}, 0});
    two.masters.front().cellLength = 7;
    two.assignments.push_back(two.assignments.front());
    two.assignments.back().master = "wide";
    const Tables tables(two, ProcessorKind::boxes);
    for (int round = 0; round < 30; ++round) {
        std::vector<Fix> fixes;
        for (std::int64_t i = 0; i < 400; ++i) {
            const auto off = [] { return static_cast<double>(random_() % 100) * 2e-4; };
            const auto late = static_cast<std::int64_t>(random_() % 60) * (round % 2);
            fixes.push_back({"e" + std::to_string(random_() % 12), off(), off(),
                             2 * kHour + (2 * i - late) * kMinute, 60.0, "", ""});
        }
        const std::uint32_t most = round % 3 == 0 ? 3 : 12;
        std::vector<Texts> rows = ask({Question::meetings, false, most}, two, fixes);
        for (Texts& row : rows) {
            row.resize(std::min<std::size_t>(row.size(), 7)); // to the cell's text
        }
        ASSERT_EQ(std::multiset<Texts>(rows.begin(), rows.end()), meetingsOf(tables, fixes, most))
            << "round " << round;
        const auto end = std::partition_point(rows.begin(), rows.end(),
                                              [](const Texts& row) { return row.size() > 1; });
        EXPECT_TRUE(std::is_sorted(rows.begin(), end, [](const Texts& a, const Texts& b) {
            return std::tuple(-std::stoi(a[2]), std::stoll(a[4]), a[0]) <
                   std::tuple(-std::stoi(b[2]), std::stoll(b[4]), b[0]);
        }));
    }
}

TEST(Meetings, AreSortedByTheNamesOfEntities) {
    const Tables tables(simpleConfig(), ProcessorKind::boxes);
    const struct {
        EntityKind kind;
        Texts names, pairs;
    } rows[] = {
        {EntityKind::text,
         {"9", "b", "10", "\xc3"},
         {"10,9", "10,b", "10,\xc3", "9,b", "9,\xc3", "b,\xc3"}},
        {EntityKind::int64, {"9", "10", "-3"}, {"-3,9", "-3,10", "9,10"}},
        {EntityKind::uint64,
         {"9", "10", "-3"},
         {"9,10", "9,18446744073709551613", "10,18446744073709551613"}},
    };
    for (const auto& [kind, entities, pairs] : rows) {
        const auto names = std::make_shared<EntityDictionary>(kind);
        const auto analysis = makeAnalysis({Question::meetings}, tables);
        for (const std::string& name : entities) {
            const std::uint64_t number =
                kind == EntityKind::text
                    ? names->numberOf(std::string_view(name))
                    : names->numberOf(static_cast<std::uint64_t>(std::stoll(name)));
            analysis->see({number, SpaceTimeBox(SpaceBox("u0q"), TimeBox(0, kHour)), 0, 0});
        }
        LastResults last(analysis->makeTable(names));
        analysis->finish(*names, last);
        ASSERT_EQ(last.places().size(), pairs.size());
        for (std::size_t i = 0; i < pairs.size(); ++i) {
            const Texts values = valuesOf(last.table(), i);
            EXPECT_EQ(values[0] + ',' + values[1], pairs[i]);
            EXPECT_EQ(std::pair(last.places()[i].order, last.places()[i].row),
                      std::pair(INT64_C(0), i));
        }
    }
    EXPECT_THROW(makeAnalysis({Question::stays}, tables), Fault);
    EXPECT_THROW(makeAnalysis({Question::meetings, false, 1}, tables), Fault);
}

// How much of the time of true stays is found within 600 m of the place, in its cell, how much of
// what is found is true, and whether there are as many stays (of 20 minutes and more), neither
// split nor merged. Nearly the same with any seed: the rest are stops too short for a hangout,
// breaks that leave no record, slow walks, and errands near by.
TEST(Stays, AgreeWithTheTruthOfTheSampleWorld) {
    const world::World world = world::makeWorld({100, 2, 5});
    std::vector<Fix> fixes;
    for (const world::Fix& fix : world.fixes) {
        const std::string& name = world.entities[fix.entity];
        fixes.push_back({name, fix.lat, fix.lon, fix.timeMs, fix.accuracyM, "", ""});
    }
    const auto place = [](const char* column) {
        const auto& columns = schemaOf(Question::stays).columns;
        const auto isIt = [column](const ResultColumn& other) { return other.name == column; };
        return std::find_if(columns.begin(), columns.end(), isIt) - columns.begin();
    };
    const auto entity = place("entity"), from = place("from"), to = place("to");
    const auto lat = place("lat"), lon = place("lon");
    double trueTime = 0, foundTime = 0, common = 0, trueCount = 0, foundCount = 0;
    for (const Texts& row : ask({Question::stays}, simpleConfig(), fixes)) {
        const auto at = [&row](auto column) { return row.at(static_cast<std::size_t>(column)); };
        const std::int64_t begin = std::stoll(at(from)), end = std::stoll(at(to));
        foundTime += static_cast<double>(end - begin);
        foundCount += end - begin >= 20 * kMinute;
        for (const world::Stay& truth : world.stays) {
            if (at(entity) == world.entities[truth.entity] &&
                std::hypot((std::stod(at(lat)) - truth.lat) * 111.3,
                           (std::stod(at(lon)) - truth.lon) * 65) < 1) {
                common += static_cast<double>(std::max(
                    std::int64_t{0}, std::min(end, truth.toMs) - std::max(begin, truth.fromMs)));
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

} // namespace
