// How large the states of sessions are beside what is in memory, and how fast they are saved and
// loaded. Each entity is seen eight times on a walk of its own, with stays in it.
//
//   state_size [ENTITIES]

#include "bench/Report.h"
#include "bench/allocations.h"
#include "engine/run/Session.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace qorvel_engine;

constexpr std::int64_t kFixes = 8;
constexpr std::int64_t kBetween = 4 * 60000; ///< ms
constexpr std::int64_t kBegin = 1700000000000;

/// One fix of each entity, all at about the same time.
class Round {
public:
    explicit Round(std::int64_t entities)
        : latitudes_(size(entities)), longitudes_(size(entities)), times_(size(entities)) {
        for (std::int64_t entity = 0; entity < entities; ++entity) {
            std::string digits = std::to_string(entity);
            names_ +=
                "person-" + std::string(7 - std::min<std::size_t>(digits.size(), 7), '0') + digits;
            ends_.push_back(static_cast<std::int64_t>(names_.size()));
        }
    }

    Observations at(std::int64_t round) {
        for (std::size_t entity = 0; entity < times_.size(); ++entity) {
            const double home = static_cast<double>(entity);
            const double step = round < 5 ? 0.0 : static_cast<double>(round);
            latitudes_[entity] = 40.0 + home * 1e-5 + step * 1e-3;
            longitudes_[entity] = 10.0 + home * 3e-6;
            times_[entity] = kBegin + round * kBetween + static_cast<std::int64_t>(entity % 60000);
        }
        ObservationColumns columns;
        columns.size = static_cast<std::int64_t>(times_.size());
        columns.entityText = TextColumn(TextValues(ends_.data(), names_.data()));
        columns.latitude = RealValues(latitudes_.data());
        columns.longitude = RealValues(longitudes_.data());
        columns.time = TimeValues(times_.data());
        return Observations(columns);
    }

private:
    static std::size_t size(std::int64_t entities) { return static_cast<std::size_t>(entities); }

    std::string names_;
    std::vector<std::int64_t> ends_ = {0};
    std::vector<double> latitudes_;
    std::vector<double> longitudes_;
    std::vector<std::int64_t> times_;
};

template <class Work>
double secondsOf(const Work& work) {
    const double start = measure::threadTime();
    work();
    return (measure::threadTime() - start) / 1e9;
}

Config config() {
    Config config;
    config.masters = {{}};
    config.assignments = {{}};
    config.presence = {{}};
    config.hangouts = {{}};
    return config;
}

Report::Row rowOf(const char* name, Question question, Round& rounds, std::int64_t entities,
                  Report& report) {
    AnalysisOptions asked;
    asked.question = question;
    SessionOptions options;
    options.forgetsReported = true;
    const std::size_t before = allocations::liveBytes();
    Session session(asked, config(), options);
    for (std::int64_t round = 0; round < kFixes; ++round) {
        session.push(rounds.at(round));
        while (session.take()) {
        }
    }
    const auto live = static_cast<double>(allocations::liveBytes() - before);
    std::string state;
    const double saving = secondsOf([&] { state = session.save(); });
    Session other(asked, config(), options);
    const double loading = secondsOf([&] { other.load(state); });
    if (other.save() != state) {
        report.fail("another state is saved than was loaded");
    }
    const auto bytes = static_cast<double>(state.size());
    return {name,
            number(bytes / static_cast<double>(entities)),
            number(live / static_cast<double>(entities)),
            times(bytes / live),
            number(bytes / 1e6 / saving),
            number(bytes / 1e6 / loading),
            report.judge(bytes <= 1.3 * live) + ", " + report.judge(bytes >= 200e6 * saving) +
                ", " + report.judge(bytes >= 150e6 * loading)};
}

} // namespace

int main(int argc, char** argv) {
    const std::int64_t entities = argc > 1 ? std::strtoll(argv[1], nullptr, 10) : 1000000;
    Report report;
    Report::heading("States of " + std::to_string(entities) + " entities");
    Round rounds(entities);
    std::vector<Report::Row> rows;
    for (const auto& [name, question] : {std::pair("presence", Question::presence),
                                         {"hangouts", Question::hangouts},
                                         {"stays", Question::stays},
                                         {"places", Question::places},
                                         {"meet", Question::encounters}}) {
        rows.push_back(rowOf(name, question, rounds, entities, report));
    }
    Report::table({"question", "bytes an entity", "in memory", "at most 1.3x",
                   "saved MB/s, from 200", "loaded MB/s, from 150", ""},
                  rows);
    return report.finish();
}
