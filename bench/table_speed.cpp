// What tables cost from columns in memory to columns in memory:
//
//   table_speed [REPETITIONS [CASE]]
//
// Cases are run whose name has CASE in it. Beside boxes, presence and hangouts the facade is called
// event by event, and has to find the same. All in processor time on one thread but for the last
// columns, by the clock: how many times faster two threads are than one, and two sessions at once,
// which share nothing, than one after the other: more than that the machine does not give. Real
// tracks are taken where QORVEL_TEST_DATA names a folder of them. A goal missed is shown; only a
// wrong result makes the exit status 1.

#include "bench/Report.h"
#include "bench/measure.h"
#include "bench/scenarios.h"
#include "bench/sides.h"
#include "engine/run/Session.h"
#include "engine/setup/Tables.h"
#include "testing/world/StayScene.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <malloc.h>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace qorvel_engine;
using scenarios::Mode;
using scenarios::Scenario;
using Fixes = std::vector<world::SceneFix>;

// ---- Tables ----

class Table {
public:
    explicit Table(const Fixes& fixes) {
        for (const world::SceneFix& fix : fixes) {
            add(fix.entity, fix.time, {fix.lat, fix.lon, fix.accuracy});
        }
    }
    explicit Table(const std::vector<qorvel::Event>& events) {
        for (const qorvel::Event& event : events) {
            add(static_cast<std::int64_t>(event.eid), event.time,
                {event.latitude, event.longitude, event.spaceTolerance});
        }
    }

    std::size_t size() const { return times_.size(); }

    void moveLater(std::int64_t millis) {
        for (std::int64_t& time : times_) {
            time += millis;
        }
    }

    /// In batches, as readers have them. Results are taken and dropped.
    void pushTo(Session& session, const std::function<void(const ResultTable&)>& take) const {
        constexpr std::size_t kBatch = 65536;
        for (std::size_t from = 0; from < size(); from += kBatch) {
            session.push(slice(from, std::min(kBatch, size() - from)));
            takeAll(session, take);
        }
    }

    static void takeAll(Session& session, const std::function<void(const ResultTable&)>& take) {
        while (const std::optional<ResultBatch> batch = session.take()) {
            take(batch->table);
        }
    }

private:
    struct Place {
        double latitude;
        double longitude;
        double accuracy;
    };

    void add(std::int64_t entity, std::int64_t time, const Place& place) {
        entities_.push_back(entity);
        times_.push_back(time);
        latitudes_.push_back(place.latitude);
        longitudes_.push_back(place.longitude);
        accuracies_.push_back(place.accuracy);
    }

    Observations slice(std::size_t from, std::size_t count) const {
        const auto first = static_cast<std::int64_t>(from);
        ObservationColumns columns;
        columns.size = static_cast<std::int64_t>(count);
        columns.entityKind = EntityKind::int64;
        columns.entityNumber = WholeValues(entities_.data(), nullptr, first);
        columns.latitude = RealValues(latitudes_.data(), nullptr, first);
        columns.longitude = RealValues(longitudes_.data(), nullptr, first);
        columns.time = TimeValues(times_.data(), TimeUnit::milliseconds, nullptr, first);
        columns.accuracy = RealValues(accuracies_.data(), nullptr, first);
        return Observations(columns);
    }

    std::vector<std::int64_t> entities_;
    std::vector<std::int64_t> times_;
    std::vector<double> latitudes_;
    std::vector<double> longitudes_;
    std::vector<double> accuracies_;
};

/// Of a file of the folder; none where it cannot be read.
Fixes readTracks(const std::string& name) {
    Fixes fixes;
    const char* const folder = std::getenv("QORVEL_TEST_DATA");
    if (folder == nullptr) {
        return fixes;
    }
    const std::string command = "gzip -dc '" + std::string(folder) + '/' + name + ".csv.gz'";
    const std::unique_ptr<FILE, int (*)(FILE*)> file(popen(command.c_str(), "r"), pclose);
    char who[64];
    world::SceneFix fix{0, 0, 0.0, 0.0, 30.0};
    long long time = 0;
    std::map<std::string, std::uint32_t> numbers;
    while (file && std::fscanf(file.get(), "%63[^,]", who) == 1) {
        if (std::fscanf(file.get(), ",%lf,%lf,%lld", &fix.lat, &fix.lon, &time) == 3) {
            fix.time = time;
            fix.entity = numbers.emplace(who, numbers.size()).first->second;
            fixes.push_back(fix);
        }
        static_cast<void>(std::fscanf(file.get(), "%*[^\n]"));
        static_cast<void>(std::fscanf(file.get(), " "));
    }
    return fixes;
}

/// Of several entities in turn, as a stream has them.
Fixes everySecond() {
    world::SceneKind kind;
    for (const world::SceneKind& one : world::sceneKinds()) {
        kind = one.longestPause <= 1.0 ? one : kind;
    }
    kind.entities = 10;
    kind.days = 1;
    Fixes fixes = world::makeScene(kind, 1).fixes;
    std::stable_sort(fixes.begin(), fixes.end(),
                     [](const auto& a, const auto& b) { return a.time < b.time; });
    return fixes;
}

// ---- Both sides of a scenario ----

/// What the engine is asked, and what the facade is asked by the same records.
struct Asked {
    AnalysisOptions analysis;
    Config config;
};

Config::Spec specOf(const qorvel::STBCompressionSpec& spec) {
    Config::Spec made;
    made.window = {spec.windowMillis, "milliseconds"};
    made.minCount = spec.minCount;
    made.ratio = spec.ratio;
    return made;
}

/// The scenario's configuration without its keys, which are the same for all.
Asked askedOf(const Scenario& scenario) {
    const qorvel::SpaceTimeBoxSpec& boxes = scenario.masterRows.front().stbSpec;
    Asked asked;
    Config::Master master;
    master.cellLength = boxes.geoHashBitDepth / 5;
    constexpr const char* kUnits[] = {"milliseconds", "seconds", "minutes", "hours",
                                      "days",         "months",  "years",   "ever"};
    master.box = {boxes.count, kUnits[boxes.unit]};
    asked.config.masters.push_back(master);
    for (const qorvel::STBAssignmentRow& row : scenario.assignmentRows) {
        Config::Assignment made;
        made.maxSpaceTolerance = row.maxSpaceTolerance;
        made.latitude = row.latitude;
        made.longitude = row.longitude;
        made.radius = row.radius;
        for (const qorvel::SpaceBox& box : row.spaceBoxes) {
            if (box.getGeoHashBitDepth() > 0) {
                made.geohashes.push_back(box.toASCIIString());
            }
        }
        asked.config.assignments.push_back(made);
    }
    asked.analysis.question = scenario.mode == Mode::boxes      ? Question::boxes
                              : scenario.mode == Mode::presence ? Question::presence
                                                                : Question::hangouts;
    auto& specs = scenario.mode == Mode::presence ? asked.config.presence : asked.config.hangouts;
    std::transform(scenario.specs.begin(), scenario.specs.end(), std::back_inserter(specs), specOf);
    return asked;
}

/// So that the facade gets the very records that the engine works by.
void takeRecords(Scenario& scenario, const Asked& asked) {
    const Tables tables(asked.config, processorKindOf(asked.analysis.question));
    scenario.masterRows = tables.masters();
    scenario.assignmentRows = tables.assignments();
    scenario.specs = tables.specs();
    for (qorvel::Event& event : scenario.events) {
        event.primaryKeyId = scenario.assignmentRows.front().primaryKeyId;
        event.secondaryKeyId = scenario.assignmentRows.front().secondaryKeyId;
    }
}

/// Of all results: how many, and a hash over their numbers in their order.
struct Digest {
    std::uint64_t count = 0;
    std::uint64_t hash = 0;

    template <class... Numbers>
    void add(const qorvel::SpaceBox& cell, const Numbers&... numbers) {
        ++count;
        for (const std::uint64_t number :
             {cell.getFirst64Bits(), cell.getSecond64Bits(),
              std::uint64_t{cell.getGeoHashBitDepth()}, static_cast<std::uint64_t>(numbers)...}) {
            hash = (hash ^ number ^ hash >> 29) * 0x100000001B3U;
        }
    }
    bool operator==(const Digest&) const = default;
};

Digest digestOfFacade(const Scenario& scenario) {
    Digest digest;
    sides::Run<sides::Library> run(scenario);
    for (const qorvel::Event& event : scenario.events) {
        sides::Found found;
        run.feed(event, found);
        for (const qorvel::SpaceTimeBox& box : found.boxes) {
            digest.add(box, event.eid, box.start, box.end, event.time);
        }
        for (const qorvel::STBCompressedEvent& record : found.records) {
            digest.add(record.stb, record.eid, record.stb.start, record.stb.end, record.totalCount,
                       record.beforeCount, record.afterCount, record.firstTime, record.endTime - 1,
                       record.eventSequenceNumbers.size());
        }
    }
    return digest;
}

std::unique_ptr<Session> start(const Asked& asked, unsigned threads = 1, std::int64_t late = 0) {
    SessionOptions options;
    options.threads = threads;
    options.late = late;
    return std::make_unique<Session>(asked.analysis, asked.config, options);
}

Digest digestOfEngine(const Asked& asked, const Table& table) {
    Digest digest;
    const std::unique_ptr<Session> session = start(asked);
    const auto add = [&](const ResultTable& found) {
        for (std::size_t row = 0; row < found.size(); ++row) {
            const std::uint64_t eid = session->names()->bits(found.entity(row, 0));
            const auto whole = [&](std::size_t column) { return found.whole(row, column); };
            if (asked.analysis.question == Question::boxes) {
                digest.add(*found.cell(row), eid, whole(5), whole(6), whole(7));
            } else {
                digest.add(*found.cell(row), eid, whole(5), whole(6), whole(7), whole(8), whole(9),
                           whole(10), whole(11), whole(12));
            }
        }
    };
    table.pushTo(*session, add);
    session->finish();
    Table::takeAll(*session, add);
    return digest;
}

// ---- What is measured ----

void drop(const ResultTable& table) {
    measure::keep(table);
}

void runAll(const Asked& asked, const Table& table, unsigned threads, std::int64_t late) {
    const std::unique_ptr<Session> session = start(asked, threads, late);
    table.pushTo(*session, drop);
    session->finish();
    Table::takeAll(*session, drop);
}

double clockTime() {
    return std::chrono::duration<double, std::nano>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

template <class Work>
measure::Contender contender(std::size_t operations, double (*now)(), const Work& work) {
    return {operations, [now, work] {
                const double begin = now();
                work();
                return now() - begin;
            }};
}

struct Goals {
    double perSecond; ///< rows; 0: none
    double toFacade;  ///< how many times faster than it; 0: none
    double twoThreads;
};

class Speeds {
public:
    Speeds(std::size_t repetitions, std::string wanted)
        : repetitions_(repetitions), wanted_(std::move(wanted)) {}

    bool wants(const std::string& name) const { return name.find(wanted_) != std::string::npos; }

    void compare(const std::string& name, Scenario scenario, const Goals& goals) {
        const Asked asked = askedOf(scenario);
        takeRecords(scenario, asked);
        const Table table(scenario.events);
        if (digestOfFacade(scenario) != digestOfEngine(asked, table)) {
            report_.fail(name + ": other results than the facade's");
        }
        measureAll(name, asked, table, 0, goals,
                   [&scenario] { measure::keep(sides::Run<sides::Library>(scenario).feedAll()); });
    }

    void measureAlone(const std::string& name, Question question, const Fixes& fixes,
                      std::int64_t late, const Goals& goals) {
        if (fixes.empty()) {
            Report::note(name + ": not there");
            return;
        }
        Asked asked;
        asked.analysis.question = question;
        measureAll(name, asked, Table(fixes), late, goals, {});
    }

    /// What an event of one of many entities costs to one of a thousand, and on the other side. All
    /// are known and what there is to report has been reported; see scenarios::residents.
    /// @param goal  0: none
    void grow(Mode mode, std::uint32_t entities, double goal) {
        const std::string name = mode == Mode::presence ? "presence" : "hangouts";
        double bytes = 0.0;
        const std::vector<measure::Contender> contenders = {residents(mode, 1000, bytes),
                                                            residents(mode, entities, bytes)};
        const auto samples = measure::inTurn(contenders, std::min<std::size_t>(repetitions_, 3));
        const double ratio = measure::spreadOf(measure::ratios(samples[1], samples[0])).median;
        growth_.push_back(
            {name, wholeNumber(entities), number(measure::spreadOf(samples[0]).median),
             number(measure::spreadOf(samples[1]).median), times(ratio),
             goal > 0.0 ? "at most " + times(goal) : "",
             goal > 0.0 ? report_.judge(ratio <= goal) : "", wholeNumber(bytes / entities)});
    }

    int finish() {
        if (!rows_.empty()) {
            Report::heading("From columns to columns, ns a row");
            Report::table({"case", "rows", "engine", "least", "M/s", "at least", "", "facade",
                           "to it", "at least", "", "2 threads", "at least", "", "2 sessions"},
                          rows_);
        }
        if (!growth_.empty()) {
            Report::heading("Entities, from columns to columns, ns a row");
            Report::table({"mode", "entities", "1,000", "so many", "ratio", "goal", "", "bytes"},
                          growth_);
        }
        return report_.finish();
    }

private:
    void measureAll(const std::string& name, const Asked& asked, const Table& table,
                    std::int64_t late, const Goals& goals, const std::function<void()>& facade) {
        const auto engine = [&](unsigned threads) {
            return [&, threads] { runAll(asked, table, threads, late); };
        };
        std::vector<measure::Contender> contenders = {
            contender(table.size(), measure::threadTime, engine(1)),
            contender(table.size(), clockTime, engine(1)),
            contender(table.size(), clockTime, engine(2)),
            contender(2 * table.size(), clockTime, [run = engine(1)] {
                std::thread other(run);
                run();
                other.join();
            })};
        if (facade) {
            contenders.push_back(contender(table.size(), measure::threadTime, facade));
        }
        const auto samples = measure::inTurn(contenders, repetitions_);
        const measure::Spread one = measure::spreadOf(samples[0]);
        Report::Row row = {name, wholeNumber(static_cast<double>(table.size())), number(one.median),
                           number(one.low)};
        tell(row, 1e3 / one.median, goals.perSecond / 1e6, number);
        const auto ratioOf = [&](std::size_t slower, std::size_t faster) {
            return measure::spreadOf(measure::ratios(samples[slower], samples[faster])).median;
        };
        row.push_back(facade ? number(measure::spreadOf(samples[4]).median) : "");
        tell(row, facade ? ratioOf(4, 0) : 0.0, goals.toFacade, times);
        tell(row, ratioOf(1, 2), goals.twoThreads, times);
        row.push_back(times(ratioOf(1, 3)));
        rows_.push_back(row);
    }

    /// A figure, its goal and whether it is met; none of it where there is none.
    void tell(Report::Row& row, double figure, double goal, std::string (*text)(double)) {
        row.push_back(figure > 0.0 ? text(figure) : "");
        row.push_back(goal > 0.0 ? text(goal) : "");
        row.push_back(goal > 0.0 ? report_.judge(figure >= goal) : "");
    }

    /// That are allocated.
    static double bytesNow() {
        const struct mallinfo2 info = mallinfo2();
        return static_cast<double>(info.uordblks + info.hblkhd);
    }

    /// @param bytes  becomes those of the last session
    static measure::Contender residents(Mode mode, std::uint32_t entities, double& bytes) {
        constexpr std::int64_t kInterval = 720000;
        constexpr int kWarmReports = 6;
        constexpr int kTimedReports = 4;
        const Scenario scenario = scenarios::residents(mode, entities);
        const auto asked = std::make_shared<const Asked>(askedOf(scenario));
        const auto table = std::make_shared<Table>(scenario.events);
        const std::size_t rounds = std::max<std::size_t>(1, 50000 / entities);
        const auto reportTo = [table](Session& session, int count) {
            const double begin = measure::threadTime();
            for (int report = 0; report < count; ++report) {
                table->pushTo(session, drop);
                table->moveLater(kInterval);
            }
            return measure::threadTime() - begin;
        };
        return {rounds * kTimedReports * entities, [=, &bytes] {
                    double time = 0.0;
                    for (std::size_t round = 0; round < rounds; ++round) {
                        const double before = bytesNow();
                        const std::unique_ptr<Session> session = start(*asked);
                        reportTo(*session, kWarmReports);
                        time += reportTo(*session, kTimedReports);
                        bytes = bytesNow() - before;
                        table->moveLater(-(kWarmReports + kTimedReports) * kInterval);
                    }
                    return time;
                }};
    }

    std::size_t repetitions_;
    std::string wanted_;
    Report report_;
    std::vector<Report::Row> rows_;
    std::vector<Report::Row> growth_;
};

} // namespace

int main(int count, char** arguments) {
    constexpr std::int64_t kHour = 3'600'000;
    const auto repetitions =
        static_cast<std::size_t>(count > 1 ? std::max(1, std::atoi(arguments[1])) : 9);
    Speeds speeds(repetitions, count > 2 ? arguments[2] : "");
    const auto ifWanted = [&speeds](const std::string& name, const auto& run) {
        if (speeds.wants(name)) {
            run(name);
        }
    };
    ifWanted("boxes, 1 row", [&](const std::string& name) {
        speeds.compare(name, scenarios::boxesByRows(1, 200000), {20e6, 2.2, 1.8});
    });
    ifWanted("boxes, 10,000 rows", [&](const std::string& name) {
        speeds.compare(name, scenarios::boxesByRows(100, 200000), {0.0, 2.0, 1.8});
    });
    ifWanted("presence, 1,000 entities", [&](const std::string& name) {
        speeds.compare(name, scenarios::townByMinutes(Mode::presence, 6), {0.0, 1.5, 1.8});
    });
    ifWanted("hangouts, 1,000 entities", [&](const std::string& name) {
        speeds.compare(name, scenarios::townByMinutes(Mode::hangouts, 6), {0.0, 1.5, 1.8});
    });
    const Goals stayGoals{8e6, 0.0, 1.8};
    ifWanted("stays, taxis", [&](const std::string& name) {
        speeds.measureAlone(name, Question::stays, readTracks("vehicles_sf_cabs"), 0, stayGoals);
    });
    ifWanted("stays, taxis, an hour late", [&](const std::string& name) {
        speeds.measureAlone(name, Question::stays, readTracks("vehicles_sf_cabs"), kHour,
                            stayGoals);
    });
    ifWanted("stays, people", [&](const std::string& name) {
        speeds.measureAlone(name, Question::stays, readTracks("people_geolife"), 0, stayGoals);
    });
    ifWanted("stays, every second", [&](const std::string& name) {
        speeds.measureAlone(name, Question::stays, everySecond(), 0, stayGoals);
    });
    ifWanted("meet, taxis", [&](const std::string& name) {
        speeds.measureAlone(name, Question::encounters, readTracks("vehicles_sf_cabs"), 0,
                            {1.5e6, 0.0, 1.6});
    });
    ifWanted("entities, presence",
             [&](const std::string&) { speeds.grow(Mode::presence, 1000000, 2.5); });
    ifWanted("entities, hangouts",
             [&](const std::string&) { speeds.grow(Mode::hangouts, 1000000, 2.5); });
    if (count > 2) { // ten minutes, and 12 GB
        ifWanted("ten million, presence",
                 [&](const std::string&) { speeds.grow(Mode::presence, 10000000, 0.0); });
        ifWanted("ten million, hangouts",
                 [&](const std::string&) { speeds.grow(Mode::hangouts, 10000000, 0.0); });
    }
    return speeds.finish();
}
