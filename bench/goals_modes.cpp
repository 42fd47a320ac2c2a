#include "bench/goals.h"
#include "bench/measure.h"
#include "bench/scenarios.h"
#include "bench/sideBySide.h"

#include "qorvel/facade/QorvelMotionProcessorAPI.h"
#include "qorvel/model/EIDName.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <unordered_map>
#include <vector>

namespace goals {

namespace {

using scenarios::Mode;
using scenarios::Scenario;

constexpr std::size_t kRepetitions = 5;

struct ModeGoal {
    std::string name;
    /// ns an event: a straightforward implementation with standard containers, measured on the same
    /// kind of machine.
    double reference;
    double goal; ///< how many times faster than that the library has to be
    Scenario (*make)();
};

const std::vector<ModeGoal>& modeGoals() {
    using namespace scenarios;
    static const std::vector<ModeGoal> all = {
        {"boxes, 1 row", 859, 6, [] { return boxesByRows(1, 200000); }},
        {"boxes, 100 rows", 6200, 30, [] { return boxesByRows(10, 100000); }},
        {"boxes, 10,000 rows", 536000, 1500, [] { return boxesByRows(100, 10000); }},
        {"presence, 1,000 entities", 2500, 5, [] { return townByMinutes(Mode::presence, 6); }},
        {"hangouts, 1,000 entities", 1660, 4, [] { return townByMinutes(Mode::hangouts, 6); }},
        {"presence, 3,600 items", 233000, 500,
         [] { return standStillBySeconds(Mode::presence, 4); }},
        {"hangouts, 3,600 items", 353000, 700,
         [] { return standStillBySeconds(Mode::hangouts, 4); }},
    };
    return all;
}

sides::Duel checkedDuel(const ModeGoal& mode, Report& report) {
    const Scenario scenario = mode.make();
    const std::string difference = sides::firstDifference(scenario, scenario.events.size());
    sides::Duel duel = sides::duel(scenario, kRepetitions);
    if (!difference.empty()) {
        report.fail(mode.name + ": " + difference);
    }
    if (!duel.sameCount) {
        report.fail(mode.name + ": not as many results");
    }
    return duel;
}

/// The goals are ratios to the reference. Our own model of such an implementation runs beside the
/// library, and counts where it costs what the reference does, within a quarter (then the smaller
/// of the two counts, so that neither a slow model nor a fast machine flatters). Where it does not,
/// its figure is scaled to the reference.
bool modelIsClose(double model, double reference) {
    return std::fabs(model / reference - 1) <= 0.25;
}

double baseline(double model, double reference) {
    return modelIsClose(model, reference) ? std::min(model, reference) : reference;
}

void againstModel(Report& report) {
    std::vector<Report::Row> rows;
    std::vector<double> modelToReference;
    std::size_t metByBoth = 0;
    for (const ModeGoal& mode : modeGoals()) {
        const sides::Duel duel = checkedDuel(mode, report);
        const measure::Spread model = measure::spreadOf(duel.model);
        const measure::Spread library = measure::spreadOf(duel.ofLibrary);
        const double ratio = baseline(model.median, mode.reference) / library.median;
        const double smaller = std::min(model.median, mode.reference) / library.median;
        metByBoth += smaller >= mode.goal ? 1 : 0;
        modelToReference.push_back(model.median / mode.reference);
        rows.push_back({mode.name, wholeNumber(mode.reference), wholeNumber(model.median),
                        around(model), wholeNumber(library.median), around(library),
                        times(mode.reference / library.median),
                        times(model.median / library.median),
                        modelIsClose(model.median, mode.reference) ? "smaller" : "reference",
                        times(ratio), times(mode.goal), report.judge(ratio >= mode.goal)});
    }
    Report::table({"scenario", "reference ns", "model ns", "spread", "library ns", "spread",
                   "to reference", "to model", "judged by", "ratio", "goal", ""},
                  rows);
    Report::note(
        "ns an event in processor time, medians of " + std::to_string(kRepetitions) +
        " repetitions in turn; every event's results were compared first.\n"
        "The model costs " +
        number(measure::spreadOf(modelToReference).median) +
        " times the reference (median). A ratio is judged by the smaller of the two where "
        "they are within\n25 % of each other, else by the reference. By the smaller of the "
        "two throughout, " +
        std::to_string(metByBoth) + " of " + std::to_string(rows.size()) + " would be met.\n");
}

std::vector<std::string> entityNames() {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < 1000; ++i) {
        names.push_back("entity-" + std::to_string(i));
    }
    return names;
}

void byName(Report& report) {
    using Api = QorvelMotionProcessorAPI;
    constexpr std::size_t operations = 100000;
    constexpr double goal = 5;
    const std::vector<std::string> names = entityNames();
    std::unordered_map<std::string, std::uint64_t> numbers;
    for (const std::string& name : names) {
        numbers.insert({name, numbers.size()});
    }
    std::stringstream errors;
    Event event;
    const auto create = [&](std::size_t i) {
        Api::createEvent("car", names[i % names.size()], "car", 48.0, 11.0, 20.0, 1600000000000, 0,
                         event, errors);
        measure::keep(event);
    };
    const auto lookUp = [&](std::size_t i) {
        measure::keep(numbers.find(names[i % names.size()])->second);
    };
    const auto lock = [](std::size_t) {
        Api::__stbMutex->lock();
        Api::__stbMutex->unlock();
    };
    const std::vector<measure::Samples> samples =
        measure::inTurn({measure::loop(operations, create), measure::loop(operations, lookUp),
                         measure::loop(operations, lock)},
                        21);
    for (std::size_t i = 0; i < names.size(); ++i) {
        create(i);
        if (EIDName::getEIDNameStr(event.eid) != names[i] || !errors.str().empty()) {
            return report.fail("an event by name has another's entity");
        }
    }
    const measure::Spread ratio = measure::spreadOf(measure::ratios(samples[0], samples[1]));
    std::vector<Report::Row> rows;
    const auto add = [&rows, &samples](const std::string& name, std::size_t contender) {
        const measure::Spread spread = measure::spreadOf(samples[contender]);
        rows.push_back({name, number(spread.median), around(spread), "", "", ""});
    };
    add("createEvent by name, 1,000 names in turn", 0);
    add("look-up of the name in std::unordered_map", 1);
    add("lock and unlock of StbSimpleMutex, of createEvent's", 2);
    rows[0][3] = times(ratio.median);
    rows[0][4] = "at most " + times(goal);
    rows[0][5] = report.judge(ratio.median <= goal);
    Report::table({"operation", "ns", "spread", "ratio", "goal", ""}, rows);
}

} // namespace

void modes(Report& report) {
    Report::heading("The modes of work");
    againstModel(report);
    Report::heading("Events by name");
    byName(report);
}

} // namespace goals
