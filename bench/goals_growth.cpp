#include "bench/Curves.h"
#include "bench/goals.h"
#include "bench/measure.h"
#include "bench/scenarios.h"
#include "bench/sides.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace goals {

namespace {

using scenarios::Mode;
using scenarios::Scenario;

/// The library alone on a scenario that stays, measured many times.
class Stream {
public:
    explicit Stream(Scenario scenario) : scenario_(std::move(scenario)) { restart(); }

    void restart() { run_ = std::make_unique<sides::Run<sides::Library>>(scenario_); }

    /// Feeds the events from `begin` on; ns that they took.
    double feed(std::size_t begin, std::size_t end) {
        const double start = measure::threadTime();
        measure::keep(run_->feedPart(begin, end));
        return measure::threadTime() - start;
    }
    double feedAll() { return feed(0, scenario_.events.size()); }

    std::size_t size() const { return scenario_.events.size(); }
    void repeatLater(std::int64_t millis) { scenarios::repeatLater(scenario_, millis); }

private:
    Scenario scenario_;
    std::unique_ptr<sides::Run<sides::Library>> run_;
};

struct Subject {
    std::string name;
    std::string unit; ///< what grows
    double goal;      ///< most times that the dearest size may cost of the first
    std::size_t repetitions;
    std::vector<std::uint32_t> sizes;
    measure::Contender (*make)(std::uint32_t size);
};

/// Each event lies in the cell of one row. `rows` is a square number.
measure::Contender byRows(std::uint32_t rows) {
    std::uint32_t side = 1;
    while (side * side < rows) {
        ++side;
    }
    const auto stream = std::make_shared<Stream>(scenarios::boxesByRows(side, 100000));
    return {stream->size(), [stream] { return stream->feedAll(); }};
}

/// The events that fill the cell are not timed; those that follow push old items out, for as many
/// whole time boxes as it takes.
measure::Contender byItems(Mode mode, std::uint32_t items) {
    constexpr std::size_t timed = 72000;
    const auto stream = std::make_shared<Stream>(scenarios::fullCell(mode, items, items + timed));
    return {timed, [stream, items] {
                stream->restart();
                stream->feed(0, items);
                return stream->feed(items, stream->size());
            }};
}

/// Entities report every twelve minutes. After an hour all are known and reported; the reports of
/// the next hour are timed, without the gc at its end: in a stream that reports each minute gc
/// falls on one report in sixty. Few entities do it again and again, so that the time is long
/// enough.
measure::Contender byEntities(Mode mode, std::uint32_t entities) {
    constexpr std::int64_t interval = 720000;
    constexpr int warmReports = 6;
    constexpr int timedReports = 4;
    const std::size_t rounds = std::max<std::size_t>(1, 50000 / entities);
    const auto stream = std::make_shared<Stream>(scenarios::residents(mode, entities));
    const auto report = [stream](int count) {
        double time = 0.0;
        for (int i = 0; i < count; ++i) {
            time += stream->feedAll();
            stream->repeatLater(interval);
        }
        return time;
    };
    return {rounds * timedReports * stream->size(), [stream, report, rounds] {
                double time = 0.0;
                for (std::size_t round = 0; round < rounds; ++round) {
                    stream->restart();
                    report(warmReports);
                    time += report(timedReports);
                    stream->repeatLater(-(warmReports + timedReports) * interval);
                }
                return time;
            }};
}

const std::vector<Subject>& subjects() {
    const std::vector<std::uint32_t> rows = {1, 9, 100, 1024, 10000};
    const std::vector<std::uint32_t> items = {60, 600, 6000, 36000};
    const std::vector<std::uint32_t> entities = {1000, 10000, 100000, 1000000};
    static const std::vector<Subject> all = {
        {"boxes", "rows", 2, 7, rows, byRows},
        {"presence", "items in a series", 2, 7, items,
         [](std::uint32_t size) { return byItems(Mode::presence, size); }},
        {"hangouts", "items in a series", 2, 7, items,
         [](std::uint32_t size) { return byItems(Mode::hangouts, size); }},
        {"presence", "entities", 3, 3, entities,
         [](std::uint32_t size) { return byEntities(Mode::presence, size); }},
        {"hangouts", "entities", 3, 3, entities,
         [](std::uint32_t size) { return byEntities(Mode::hangouts, size); }},
    };
    return all;
}

/// The ratio is that of the dearest size to the first, whatever lies between.
Curve grow(const Subject& subject, Report& report) {
    std::vector<measure::Contender> contenders;
    for (const std::uint32_t size : subject.sizes) {
        contenders.push_back(subject.make(size));
    }
    const std::vector<measure::Samples> samples = measure::inTurn(contenders, subject.repetitions);
    Curve curve{subject.name, subject.unit, {}};
    std::vector<Report::Row> rows;
    double worst = 0.0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const measure::Spread spread = measure::spreadOf(samples[i]);
        const double ratio = measure::spreadOf(measure::ratios(samples[i], samples[0])).median;
        worst = std::max(worst, ratio);
        curve.points.push_back({static_cast<double>(subject.sizes[i]), spread.median});
        rows.push_back({subject.name, wholeNumber(subject.sizes[i]), number(spread.median),
                        around(spread), times(ratio), "", ""});
    }
    rows.back()[5] = "at most " + times(subject.goal);
    rows.back()[6] = report.judge(worst <= subject.goal);
    Report::table({"mode", subject.unit, "ns/event", "spread", "to the first", "goal", ""}, rows);
    return curve;
}

} // namespace

void growth(Report& report, const std::string& picture) {
    Report::heading("Growth");
    std::vector<Curve> curves;
    for (const Subject& subject : subjects()) {
        curves.push_back(grow(subject, report));
    }
    if (!picture.empty()) {
        std::ofstream file(picture);
        drawCurves(curves, file);
    }
}

} // namespace goals
