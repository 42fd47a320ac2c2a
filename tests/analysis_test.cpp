// What analyses find, through sessions that push in any batches to any number of threads: beside
// what the library reports, slow models, and the truth of the sample world.
#include "engine/columns/EntityDictionary.h"
#include "engine/columns/Fault.h"
#include "engine/run/Session.h"
#include "engine/setup/numberText.h"
#include "program/input/FixBatch.h"
#include "program/input/FixSource.h"
#include "testing/support/wantedEvents.h"
#include "testing/world/World.h"

#include "qorvel/processor/detail/FigureProcessor.h"
#include "qorvel/qorvel.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstdlib>
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

/// A row's values, numbers with all their bits.
Texts valuesOf(const ResultTable& table, std::size_t row) {
    Texts values;
    for (std::size_t i = 0; i < table.schema().columns.size(); ++i) {
        const ResultKind kind = table.schema().columns[i].kind;
        std::string& value = values.emplace_back();
        if (kind == ResultKind::entity) {
            table.names().append(table.entity(row, i), value);
        } else {
            value = kind == ResultKind::text      ? std::string(table.text(row, i))
                    : kind == ResultKind::degrees ? numberText(table.real(row, i))
                    : kind == ResultKind::metres  ? numberText(table.real(row, i))
                    : kind == ResultKind::hours   ? numberText(table.real(row, i))
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
    for (const Remark& remark : session.remarks()) {
        if (remark.kind != RemarkKind::outOfOrder) {
            results.push_back({remark.sentence});
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
    std::stringstream errors;
    Event event;
    for (const Fix& fix : fixes) {
        const std::string key = fix.primaryKey.empty() ? anyPrimaryKey() : fix.primaryKey;
        ASSERT_EQ(QorvelMotionProcessorAPI::createEvent(
                      key, fix.entity, fix.secondaryKey, fix.latitude, fix.longitude,
                      fix.accuracyM.value_or(30.0), fix.time, kTimeTolerance, event, errors),
                  0);
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
    std::size_t count = 0, events = 0;
    for (int round = 0; events < wantedEvents(57'000); ++round) {
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
        std::vector<Texts> wanted = Reported().of(tables, lastFigures, fixes);
        if (lastFigures) { // which come when they are final
            std::sort(found.begin(), found.end());
            std::sort(wanted.begin(), wanted.end());
        }
        ASSERT_EQ(found, wanted) << "round " << round;
        count += found.size();
        events += fixes.size();
    }
    RecordProperty("events", std::to_string(events));
    EXPECT_GT(count, events / 12);
}

using Point = std::array<double, 3>;

/// On the ellipsoid WGS-84, metres from its centre.
Point pointOf(double latitude, double longitude) {
    constexpr double kRadian = 3.14159265358979323846 / 180.0;
    constexpr double kAxis = 6378137.0, kSquaredRatio = 0.9933056200098587;
    const double sine = std::sin(latitude * kRadian), cosine = std::cos(latitude * kRadian);
    const double normal = kAxis / std::hypot(cosine, std::sqrt(kSquaredRatio) * sine);
    return {normal * cosine * std::cos(longitude * kRadian),
            normal * cosine * std::sin(longitude * kRadian), kSquaredRatio * normal * sine};
}

double lengthOf(const Point& p) {
    return std::hypot(p[0], p[1], p[2]);
}

double distance(const Point& p, const Point& q) {
    return lengthOf({p[0] - q[0], p[1] - q[1], p[2] - q[2]});
}

/// By the definition: all pairs of entities, all fixes of either, all places of the other.
class EncounterModel {
public:
    struct Row {
        std::string a, b;
        std::int64_t from, to, fixes;
        double least;
    };

    EncounterModel(const EncounterOptions& options, const std::vector<Fix>& fixes)
        : options_(options) {
        for (const Fix& fix : fixes) {
            tracks_[fix.entity].insert({fix.time, fix.latitude, fix.longitude});
        }
    }

    std::vector<Row> rows() const {
        std::vector<Row> rows;
        for (auto one = tracks_.begin(); one != tracks_.end(); ++one) {
            for (auto other = std::next(one); other != tracks_.end(); ++other) {
                std::multimap<std::int64_t, double> moments;
                look(one->second, other->second, moments);
                look(other->second, one->second, moments);
                const std::size_t begin = rows.size();
                for (const auto& [time, least] : moments) {
                    if (rows.size() == begin || time - rows.back().to > options_.apart) {
                        rows.push_back({one->first, other->first, time, time, 0, least});
                    }
                    Row& row = rows.back();
                    row.to = time;
                    row.least = std::min(row.least, least);
                    ++row.fixes;
                }
            }
        }
        return rows;
    }

private:
    using Track = std::set<std::tuple<std::int64_t, double, double>>;

    static Point pointIn(Track::const_iterator fix) {
        return pointOf(std::get<1>(*fix), std::get<2>(*fix));
    }

    void look(const Track& own, const Track& other,
              std::multimap<std::int64_t, double>& moments) const {
        for (auto fix = own.begin(); fix != own.end(); ++fix) {
            const std::int64_t time = std::get<0>(*fix);
            double least = options_.within;
            for (const Point& place : placesAt(other, time)) {
                least = std::min(least, distance(place, pointIn(fix)));
            }
            if (least < options_.within) {
                moments.emplace(time, least);
            }
        }
    }

    std::vector<Point> placesAt(const Track& track, std::int64_t time) const {
        const auto timeOf = [](auto fix) { return std::get<0>(*fix); };
        if (options_.fixesOnly) {
            std::vector<Point> all;
            for (auto fix = track.begin(); fix != track.end(); ++fix) {
                if (std::abs(timeOf(fix) - time) <= options_.apart) {
                    all.push_back(pointIn(fix));
                }
            }
            return all;
        }
        auto after = track.lower_bound({time, -91.0, 0.0});
        std::vector<Point> places;
        for (; after != track.end() && timeOf(after) == time; ++after) {
            places.push_back(pointIn(after));
        }
        if (!places.empty()) {
            return places;
        }
        const auto before = after == track.begin() ? track.end() : std::prev(after);
        const std::int64_t since = before == track.end() ? INT64_MAX : time - timeOf(before);
        const std::int64_t until = after == track.end() ? INT64_MAX : timeOf(after) - time;
        if (since <= options_.apart && until <= options_.apart - since) {
            places.push_back(
                between(pointIn(before), pointIn(after),
                        static_cast<double>(since) / static_cast<double>(since + until)));
        } else if (std::min(since, until) <= options_.apart) {
            places.push_back(pointIn(since <= until ? before : after));
        }
        return places;
    }

    static Point between(const Point& p, const Point& q, double share) {
        Point mean;
        for (std::size_t i = 0; i < mean.size(); ++i) {
            mean[i] = p[i] + share * (q[i] - p[i]);
        }
        const double raise =
            std::hypot(std::sqrt(1.0 - share) * lengthOf(p), std::sqrt(share) * lengthOf(q)) /
            lengthOf(mean);
        return {mean[0] * raise, mean[1] * raise, mean[2] * raise};
    }

    const EncounterOptions options_;
    std::map<std::string, Track> tracks_;
};

/// About a place, with jumps, silences, rows twice and two places at one time.
std::vector<Fix> wanderers(const EncounterOptions& options, double latitude, double longitude) {
    std::vector<Fix> fixes;
    const auto off = [&options](double reach) {
        return (static_cast<double>(random_() % 2001) / 1000.0 - 1.0) * reach * options.within /
               111e3;
    };
    for (std::size_t entity = 2 + random_() % 8; entity > 0; --entity) {
        auto time = static_cast<std::int64_t>(random_() % 4) * options.apart;
        double north = off(5), east = off(5);
        for (int i = 0; i < 40; ++i) {
            const bool jumps = random_() % 15 == 0;
            north += off(jumps ? 500 : 2);
            east += off(jumps ? 500 : 2);
            time += static_cast<std::int64_t>(random_() >> 1) % (options.apart * pick({1, 1, 3}));
            time -= random_() % 3 == 0 ? time % (options.apart / 2) : 0; // two at the same time
            fixes.push_back({"e" + std::to_string(entity * 7),
                             std::clamp(latitude + north, -90.0, 90.0),
                             std::remainder(longitude + east, 360.0), time, 10.0, "", ""});
            if (random_() % 20 == 0) {
                fixes.push_back(fixes.back());
                fixes.back().latitude *= pick({1.0, 0.99999});
            }
        }
    }
    std::shuffle(fixes.begin(), fixes.end(), random_);
    return fixes;
}

/// Encounters and pieces of them, put together: all figures but minutes.
std::vector<Texts> joined(const AnalysisOptions& options,
                          const std::vector<std::vector<Texts>>& all) {
    enum Column : std::size_t { kFrom = 2, kTo, kMinutes, kLeast, kFixes, kLatitude };
    const auto number = [](const Texts& row, Column column) { return std::stoll(row[column]); };
    std::map<std::tuple<std::string, std::string, std::int64_t>, Texts> sorted;
    for (const auto& rows : all) {
        for (const Texts& row : rows) {
            sorted[{row[0], row[1], number(row, kFrom)}] = row;
        }
    }
    std::vector<Texts> result;
    for (auto& [key, row] : sorted) {
        row[kMinutes].clear();
        const bool goesOn =
            !result.empty() && result.back()[0] == row[0] && result.back()[1] == row[1] &&
            number(row, kFrom) - number(result.back(), kTo) <= options.encounters.apart;
        if (!goesOn) {
            result.push_back(row);
            continue;
        }
        Texts& whole = result.back();
        whole[kTo] = row[kTo];
        whole[kFixes] = std::to_string(number(whole, kFixes) + number(row, kFixes));
        if (std::stod(row[kLeast]) < std::stod(whole[kLeast])) {
            whole[kLeast] = row[kLeast];
            std::copy(row.begin() + kLatitude, row.end(), whole.begin() + kLatitude);
        }
    }
    return result;
}

/// Those of the times before one and from it on, each from the fixes that lie near these times.
std::vector<Texts> inPieces(const AnalysisOptions& options, const std::vector<Fix>& fixes,
                            std::int64_t border) {
    AnalysisOptions before = options, after = options;
    before.encounters.last = border - 1;
    after.encounters.first = border;
    std::vector<Fix> early, late;
    for (const Fix& fix : fixes) {
        if (fix.time < border + options.encounters.apart) {
            early.push_back(fix);
        }
        if (fix.time >= border - options.encounters.apart) {
            late.push_back(fix);
        }
    }
    return joined(options, {ask(before, {}, early), ask(after, {}, late)});
}

/// What was found are the model's encounters, and the sums of pairs are theirs.
void expectAllTimes(AnalysisOptions options, const std::vector<Fix>& fixes,
                    const std::vector<Texts>& found) {
    std::map<std::tuple<std::string, std::string, std::int64_t, std::int64_t, std::int64_t>, double>
        byFigures;
    for (const Texts& row : found) {
        byFigures.insert(
            {{row[0], row[1], std::stoll(row[2]), std::stoll(row[3]), std::stoll(row[6])},
             std::stod(row[5])});
    }
    const auto wanted = EncounterModel(options.encounters, fixes).rows();
    ASSERT_EQ(found.size(), wanted.size());
    std::map<std::pair<std::string, std::string>, std::pair<std::int64_t, std::int64_t>> sums;
    for (const auto& [a, b, from, to, fixCount, least] : wanted) {
        const auto row = byFigures.find({std::min(a, b), std::max(a, b), from, to, fixCount});
        ASSERT_NE(row, byFigures.end()) << a << ' ' << from;
        EXPECT_NEAR(row->second, least, 1e-3 + 1e-5 * least);
        auto& [encounters, duration] = sums[std::minmax(a, b)];
        ++encounters;
        duration += to - from;
    }
    options.encounters.pairs = true;
    std::int64_t last = INT64_MAX;
    for (const Texts& row : ask(options, {}, fixes)) {
        const auto [encounters, duration] = sums.extract({row[0], row[1]}).mapped();
        EXPECT_EQ(row[2], std::to_string(encounters));
        EXPECT_EQ(row[3], std::to_string((duration + kMinute / 2) / kMinute));
        EXPECT_LE(duration, std::exchange(last, duration));
    }
    EXPECT_TRUE(sums.empty());
}

TEST(Encounters, AreAllTimesThatTwoWereNear) {
    std::size_t count = 0, events = 0;
    for (int round = 0; events < wantedEvents(46'000); ++round) {
        AnalysisOptions options{Question::encounters};
        options.encounters.within = pick({5.0, 50.0, 5000.0});
        options.encounters.apart = pick({1000, 60000, 300000});
        options.encounters.fixesOnly = round % 3 == 0;
        const std::vector<Fix> fixes = wanderers(
            options.encounters, pick({0.0, 48.0, 89.9999, -89.9}), pick({0.0, 180.0, -179.9999}));
        const std::vector<Texts> found = ask(options, {}, fixes);
        ASSERT_EQ(ask(options, {}, fixes), found) << "in other batches";
        std::vector<Fix> inOtherOrder = fixes;
        std::shuffle(inOtherOrder.begin(), inOtherOrder.end(), random_);
        ASSERT_EQ(ask(options, {}, inOtherOrder), found) << "in another order";
        ASSERT_EQ(inPieces(options, fixes, fixes.front().time), joined(options, {found}));
        expectAllTimes(options, fixes, found);
        ASSERT_FALSE(testing::Test::HasFailure()) << "round " << round;
        count += found.size();
        events += fixes.size();
    }
    RecordProperty("events", std::to_string(events));
    EXPECT_GT(count, events / 50);
}

TEST(Encounters, AreAllOfTheVesselsOfAPort) {
    const char* const folder = std::getenv("QORVEL_TEST_DATA");
    if (folder == nullptr) {
        GTEST_SKIP() << "QORVEL_TEST_DATA is not set";
    }
    program::InputOptions input;
    input.file = folder + std::string("/vessels_us_ais.csv.gz");
    const auto source = program::openFixSource(input);
    std::vector<Fix> fixes;
    for (Fix fix; source->next();) {
        if (source->read(fix).empty() && std::fabs(fix.latitude - 47.6) < 0.1 &&
            std::fabs(fix.longitude + 122.4) < 0.1) {
            fixes.push_back(fix);
        }
    }
    const AnalysisOptions options{Question::encounters};
    const std::vector<Texts> found = ask(options, {}, fixes);
    EXPECT_GT(found.size(), 100);
    expectAllTimes(options, fixes, found);
}

/// Some moments, and so many that they are looked for bit by bit.
TEST(Encounters, AreTheSameFromAnyNumberOfThreads) {
    for (const std::uint64_t entities : {30U, 150U}) {
        std::vector<SeenFix> fixes;
        for (std::uint64_t i = 0; i < 50 * entities; ++i) {
            const double reach = entities < 100 ? 1e-2 : 1e-5; // degrees
            const auto off = [reach] {
                return reach * static_cast<double>(random_() % 1000) / 1e3;
            };
            fixes.push_back(
                {i % entities, static_cast<std::int64_t>(random_() % 600'000), off(), off()});
        }
        const auto names = std::make_shared<EntityDictionary>(EntityKind::uint64);
        for (std::uint64_t entity = 0; entity < entities; ++entity) {
            names->numberOf(entity);
        }
        const auto find = [&](unsigned threads, const std::atomic<bool>& isCancelled) {
            const auto analysis = makeAnalysis({Question::encounters}, nullptr);
            analysis->useThreads(threads);
            analysis->watch(isCancelled);
            std::for_each(fixes.begin(), fixes.end(),
                          [&](const SeenFix& fix) { analysis->see(fix); });
            LastResults last(analysis->makeTable(names));
            analysis->finish(*names, last);
            std::vector<Texts> rows;
            for (std::size_t row = 0; row < last.table().size(); ++row) {
                rows.push_back(valuesOf(last.table(), row));
            }
            return rows;
        };
        const std::vector<Texts> found = find(1, false);
        EXPECT_GT(found.size(), entities);
        EXPECT_EQ(find(3, false), found);
        EXPECT_THROW(find(3, true), Fault);
    }
}

TEST(Encounters, AreSortedByTheNamesOfEntities) {
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
        const auto analysis = makeAnalysis({Question::encounters}, nullptr);
        for (const std::string& name : entities) {
            const std::uint64_t number =
                kind == EntityKind::text
                    ? names->numberOf(std::string_view(name))
                    : names->numberOf(static_cast<std::uint64_t>(std::stoll(name)));
            analysis->see({number, kHour, 47.0, 8.0});
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
    const Tables tables(simpleConfig(), ProcessorKind::boxes);
    EXPECT_THROW(makeAnalysis({Question::hangouts}, &tables), Fault);
    EXPECT_THROW(makeAnalysis({Question::boxes}, nullptr), Fault);
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
        const auto& columns = schemaOf({Question::stays}).columns;
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
