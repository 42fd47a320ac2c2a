// The engine's analyses, driven by several shards, beside those of the program by one.
#include "engine/analysis/makeAnalysis.h"
#include "engine/columns/EntityDictionary.h"
#include "engine/columns/Fault.h"
#include "tools/commands/MeetAnalysis.h"
#include "tools/commands/StaysAnalysis.h"
#include "tools/commands/findings.h"
#include "tools/setup/EventMaker.h"
#include "tools/world/World.h"

#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using namespace qorvel_engine;
using host::Fix;

constexpr std::int64_t kMinute = 60000;
constexpr std::int64_t kHour = 60 * kMinute;

std::mt19937_64 random_(7);

/// One of the options.
template <typename T>
T pick(std::initializer_list<T> options) {
    return std::data(options)[random_() % options.size()];
}

struct Asked {
    Question question;
    bool lastFigures = false;
};

constexpr Asked kAsked[] = {{Question::boxes},    {Question::presence}, {Question::presence, true},
                            {Question::hangouts}, {Question::stays},    {Question::hangouts, true},
                            {Question::meetings}};

using Texts = std::vector<std::string>;

/// Results as texts, with what they are sorted by.
struct Sorted {
    std::vector<std::pair<std::pair<std::int64_t, std::uint64_t>, std::string>> last;

    /// All, those at the end after the others.
    Texts after(Texts first) {
        std::stable_sort(last.begin(), last.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        for (auto& [place, text] : last) {
            first.push_back(std::move(text));
        }
        return first;
    }
};

/// Calls `collect` so often that whatever may be forgotten is, unless a row is done for at once.
template <class Take, class Collect>
void forEachRow(const std::vector<Fix>& fixes, std::int64_t lookBack, Take take, Collect collect) {
    std::vector<std::int64_t> oldest(fixes.size() + 1, INT64_MAX);
    for (std::size_t i = fixes.size(); i-- > 0;) {
        oldest[i] = std::min(oldest[i + 1], fixes[i].time);
    }
    host::EventMaker events({30.0, 1});
    Event event;
    for (std::size_t row = 0; row < fixes.size();) {
        ASSERT_EQ(events.make(fixes[row], event), "");
        take(fixes[row], event, row);
        if (++row % 20 == 0 && lookBack >= 0) {
            collect(oldest[row] - lookBack);
        }
    }
}

std::string shapeOf(const SpaceBox* cells, std::size_t count) {
    std::string text;
    for (; count > 0; --count, ++cells) {
        text += cells->toASCIIString() + '/' + std::to_string(cells->getGeoHashBitDepth()) + ' ';
    }
    return text;
}

std::string textOf(const host::Schema& schema, const host::ResultRow& row) {
    std::string text;
    for (std::size_t i = 0; i < schema.columns.size(); ++i) {
        const auto kind = schema.columns[i].kind;
        const host::Value& value = row.values[i];
        text += kind == host::ColumnKind::text      ? value.text
                : kind == host::ColumnKind::degrees ? testing::PrintToString(value.real)
                                                    : std::to_string(value.whole);
        text += ',';
    }
    return text + shapeOf(row.cells.data(), row.cells.size());
}

std::string textOf(const ResultTable& table, std::size_t row) {
    std::string text;
    for (std::size_t i = 0; i < table.schema().columns.size(); ++i) {
        const ResultKind kind = table.schema().columns[i].kind;
        if (kind == ResultKind::entity) {
            table.names().append(table.entity(row, i), text);
        } else {
            text += kind == ResultKind::text      ? std::string(table.text(row, i))
                    : kind == ResultKind::degrees ? testing::PrintToString(table.real(row, i))
                                                  : std::to_string(table.whole(row, i));
        }
        text += ',';
    }
    return text + shapeOf(table.cells(row), table.cellCount(row));
}

Texts runProgram(host::Analysis& analysis, const std::vector<Fix>& fixes) {
    struct Finding : host::Found {
        explicit Finding(host::Analysis& theAnalysis) : analysis(theAnalysis) {}
        void add(const host::ResultRow& row) override {
            texts.push_back(textOf(analysis.schema(), row));
        }
        void add(const host::SeenBox& box) override { analysis.see(box); }
        host::Analysis& analysis;
        Texts texts;
    } found(analysis);
    const auto shard = analysis.makeShard();
    forEachRow(
        fixes, analysis.lookBack(),
        [&](const Fix& fix, const Event& event, std::size_t row) {
            shard->take({fix, event, row}, found);
        },
        [&](std::int64_t needless) {
            shard->collect(needless);
            analysis.collect(needless);
        });
    std::vector<host::LastResult> results;
    shard->finish(results);
    analysis.finish(results);
    Sorted sorted;
    for (const host::LastResult& last : results) {
        sorted.last.push_back({{last.order, last.row}, textOf(analysis.schema(), last.result)});
    }
    return sorted.after(found.texts);
}

Texts runEngine(Analysis& analysis, const std::vector<Fix>& fixes, std::size_t shardCount) {
    const auto names = std::make_shared<EntityDictionary>(EntityKind::text);
    struct Finding : Found {
        Finding(Analysis& theAnalysis, ResultTable theTable)
            : analysis(theAnalysis), table(std::move(theTable)) {}
        ResultTable& results() override { return table; }
        void add(const SeenBox& box) override { analysis.see(box); }
        Analysis& analysis;
        ResultTable table;
    } found(analysis, analysis.makeTable(names));
    std::vector<std::unique_ptr<Shard>> shards;
    while (shards.size() < shardCount) {
        shards.push_back(analysis.makeShard());
    }
    forEachRow(
        fixes, analysis.lookBack(),
        [&](const Fix& fix, Event event, std::size_t row) {
            event.eid = names->numberOf(fix.entity);
            event.sequenceNumber = row;
            shards[event.eid % shardCount]->take({event, row}, found);
        },
        [&](std::int64_t needless) {
            for (const auto& shard : shards) {
                shard->collect(needless);
            }
            analysis.collect(needless);
        });
    Texts texts;
    for (std::size_t row = 0; row < found.table.size(); ++row) {
        texts.push_back(textOf(found.table, row));
    }
    Sorted sorted;
    const auto gather = [&](const LastResults& last) {
        for (std::size_t row = 0; row < last.places().size(); ++row) {
            const auto& [order, number] = last.places()[row];
            sorted.last.push_back({{order, number}, textOf(last.table(), row)});
        }
    };
    for (const auto& shard : shards) {
        LastResults last(analysis.makeTable(names));
        shard->finish(last);
        gather(last);
    }
    LastResults last(analysis.makeTable(names));
    analysis.finish(*names, last);
    gather(last);
    return sorted.after(texts);
}

std::unique_ptr<host::Analysis> programAnalysis(const Asked& asked, const Tables& tables,
                                                std::uint32_t most) {
    switch (asked.question) {
    case Question::boxes:
        return host::makeBoxesAnalysis(tables);
    case Question::stays:
        return std::make_unique<host::StaysAnalysis>(tables);
    case Question::meetings:
        return std::make_unique<host::MeetAnalysis>(tables, most);
    default:
        return asked.lastFigures ? host::makeLastFindings(tables) : host::makeFirstFindings(tables);
    }
}

/// Runs both and returns how many results there were.
std::size_t compare(const Config& config, const Asked& asked, const std::vector<Fix>& fixes,
                    std::uint32_t most = 1000) {
    const Tables tables(config, processorKindOf(asked.question));
    const auto program = programAnalysis(asked, tables, most);
    const auto engine = makeAnalysis({asked.question, asked.lastFigures, most}, tables);
    const Texts wanted = runProgram(*program, fixes);
    const Texts found = runEngine(*engine, fixes, pick({1U, 3U, 8U}));
    EXPECT_EQ(found.size(), wanted.size());
    const auto [one, other] =
        std::mismatch(found.begin(), found.end(), wanted.begin(), wanted.end());
    if (one != found.end() && other != wanted.end()) {
        ADD_FAILURE() << "result " << one - found.begin() << ":\n" << *one << '\n' << *other;
    }
    EXPECT_EQ(engine->lookBack(), program->lookBack());
    EXPECT_EQ(engine->remarks().size(), program->remarks().size());
    return found.size();
}

Config simpleConfig() {
    Config config;
    config.masters.resize(1);
    config.assignments.resize(1);
    config.presence.resize(1);
    config.hangouts.resize(1);
    return config;
}

TEST(Analyses, HaveTheColumnsOfTheProgram) {
    const Config config = simpleConfig();
    for (const Asked& asked : kAsked) {
        const Tables tables(config, processorKindOf(asked.question));
        const auto analysis = programAnalysis(asked, tables, 2);
        const host::Schema& program = analysis->schema();
        const auto names = std::make_shared<EntityDictionary>(EntityKind::text);
        const ResultSchema engine =
            makeAnalysis({asked.question}, tables)->makeTable(names).schema();
        EXPECT_EQ(std::tuple(engine.name, engine.columns.size(), engine.hasSeveralCells),
                  std::tuple(program.layer, program.columns.size(), program.hasSeveralCells));
        for (std::size_t i = 0; i < program.columns.size(); ++i) {
            const auto [name, kind] = program.columns[i];
            EXPECT_EQ(engine.columns[i].name, name);
            const ResultKind own = engine.columns[i].kind;
            EXPECT_EQ(own == ResultKind::entity    ? host::ColumnKind::text
                      : own == ResultKind::text    ? host::ColumnKind::text
                      : own == ResultKind::degrees ? host::ColumnKind::degrees
                      : own == ResultKind::whole   ? host::ColumnKind::whole
                      : own == ResultKind::time    ? host::ColumnKind::time
                                                   : host::ColumnKind::boxEnd,
                      kind)
                << name;
        }
    }
}

TEST(Analyses, FindInTheSampleWorldWhatTheProgramFinds) {
    const world::World world = world::makeWorld({15, 1, 11});
    std::vector<Fix> fixes;
    for (const world::Fix& fix : world.fixes) {
        fixes.push_back(
            {world.entities[fix.entity], fix.lat, fix.lon, fix.timeMs, fix.accuracyM, "", ""});
    }
    for (const Asked& asked : kAsked) {
        EXPECT_GT(compare(simpleConfig(), asked, fixes), 100U);
    }
}

TEST(Analyses, FindInDisorderWhatTheProgramFinds) {
    const auto off = [] { return static_cast<double>(random_() % 9) * 5e-4; };
    std::size_t results = 0;
    for (int round = 0; round < 15; ++round) {
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
            for (std::uint64_t count = 1 + random_() % 3; count > 0; --count) {
                const Span window{pick({1U, 5U}), "minutes"};
                specs->push_back({pick({"ANY", "ANY", "car"}), "", pick({"a", "b"}), window,
                                  pick({1U, 3U}), pick({1.0, 0.3}), 0});
            }
        }
        std::vector<Fix> fixes;
        std::vector<std::pair<double, double>> places(6);
        for (std::int64_t time = kHour; time < 12 * kHour; time += kMinute / 3) {
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
        for (const Asked& asked : kAsked) {
            SCOPED_TRACE("round " + std::to_string(round) + ", question " +
                         std::to_string(static_cast<int>(asked.question)));
            results += compare(config, asked, fixes, pick({2U, 4U, 1000U}));
        }
    }
    EXPECT_GT(results, 10000U);
}

TEST(Analyses, SortMeetingsByTheNamesOfEntities) {
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
            EXPECT_EQ(textOf(last.table(), i).rfind(pairs[i] + ",1,1,0,0,u0q,", 0), 0U) << pairs[i];
            EXPECT_EQ(std::pair(last.places()[i].order, last.places()[i].row),
                      std::pair(INT64_C(0), i));
        }
    }
    EXPECT_THROW(makeAnalysis({Question::stays}, tables), Fault);
    EXPECT_THROW(makeAnalysis({Question::meetings, false, 1}, tables), Fault);
}

} // namespace
