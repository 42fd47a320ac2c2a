#include "bench/Peer.h"
#include "bench/goals.h"
#include "testing/world/Random.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace goals {

namespace {

using peers::Contestant;
using peers::Contestants;
using peers::Inputs;
using peers::Pair;
using peers::Point;
using peers::Task;

constexpr std::size_t kRepetitions = 21;

struct TaskText {
    Task task;
    std::string name;
    bool faster; ///< the goal: faster than each peer, or else no slower
};

const std::vector<TaskText>& tasks() {
    static const std::vector<TaskText> all = {
        {Task::cell, "point to cell", true},
        {Task::text, "point to geohash text", true},
        {Task::nearGreatCircle, "great circle, below 10 km", false},
        {Task::farGreatCircle, "great circle, anywhere", false},
        {Task::nearGeodesic, "ellipsoid, below 10 km", false},
        {Task::farGeodesic, "ellipsoid, anywhere", false},
    };
    return all;
}

Point anywhere(world::Random& random) {
    return {random.between(-90.0, 90.0), random.between(-180.0, 180.0)};
}

/// Of nearly antipodal points Vincenty's formula finds no distance, and says so by taking long.
bool nearlyAntipodal(const Pair& pair) {
    const double turn = std::fabs(pair.from.longitude - pair.to.longitude);
    return std::fabs(pair.from.latitude + pair.to.latitude) < 10 && std::fabs(turn - 180) < 10;
}

Inputs makeInputs() {
    constexpr std::size_t count = 1024;
    world::Random random(1, 0);
    Inputs inputs;
    while (inputs.points.size() < count) {
        inputs.points.push_back(anywhere(random));
    }
    while (inputs.near.size() < count) {
        const Point from = {random.between(-70.0, 70.0), random.between(-179.0, 179.0)};
        inputs.near.push_back({from,
                               {from.latitude + random.between(-0.05, 0.05),
                                from.longitude + random.between(-0.05, 0.05)}});
    }
    while (inputs.far.size() < count) {
        const Pair pair = {anywhere(random), anywhere(random)};
        if (!nearlyAntipodal(pair)) {
            inputs.far.push_back(pair);
        }
    }
    return inputs;
}

struct Peers {
    std::string package;
    Contestants (*make)(const Inputs& inputs); ///< none where it was not found at build time
};

const std::vector<Peers>& allPeers() {
    static const std::vector<Peers> all = {
#ifdef QORVEL_BENCH_S2
        {"S2", peers::ofS2},
#else
        {"S2", nullptr},
#endif
#ifdef QORVEL_BENCH_GEOGRAPHICLIB
        {"GeographicLib", peers::ofGeographicLib},
#else
        {"GeographicLib", nullptr},
#endif
#ifdef QORVEL_BENCH_BOOST
        {"Boost.Geometry", peers::ofBoost},
#else
        {"Boost.Geometry", nullptr},
#endif
    };
    return all;
}

/// Texts must be the same. Distances of one kind agree to a part in a million or to a few
/// millimetres, which is what Vincenty's formula promises.
std::string firstDifference(const Contestant& ours, const Contestant& theirs, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        if (ours.text && theirs.text && ours.text(i) != theirs.text(i)) {
            return ours.text(i) + " and " + theirs.text(i);
        }
        if (ours.metres && theirs.metres) {
            const double metres = theirs.metres(i);
            if (!(std::fabs(ours.metres(i) - metres) <= 0.005 + metres * 1e-6)) {
                return number(ours.metres(i)) + " and " + number(metres) + " metres";
            }
        }
    }
    return "";
}

void compete(const TaskText& task, const Contestant& ours, const Contestants& theirs,
             std::size_t inputs, Report& report, std::vector<Report::Row>& rows) {
    std::vector<measure::Contender> contenders = {ours.contender};
    for (const Contestant& peer : theirs) {
        contenders.push_back(peer.contender);
        const std::string difference = firstDifference(ours, peer, inputs);
        if (!difference.empty()) {
            report.fail(task.name + ", " + peer.name + ": " + difference);
        }
    }
    const std::vector<measure::Samples> samples = measure::inTurn(contenders, kRepetitions);
    const measure::Spread own = measure::spreadOf(samples[0]);
    for (std::size_t i = 0; i < theirs.size(); ++i) {
        const measure::Spread peer = measure::spreadOf(samples[i + 1]);
        const double ratio = measure::spreadOf(measure::ratios(samples[i + 1], samples[0])).median;
        rows.push_back({task.name, number(own.median), around(own), theirs[i].name,
                        number(peer.median), around(peer), times(ratio),
                        task.faster ? "faster" : "no slower",
                        report.judge(task.faster ? ratio > 1.0 : ratio >= 1.0)});
    }
}

} // namespace

void peers(Report& report) {
    Report::heading("Peers");
    const Inputs inputs = makeInputs();
    Contestants theirs;
    for (const Peers& peer : allPeers()) {
        if (peer.make == nullptr) {
            Report::note(peer.package + ": not installed when this was built\n");
            continue;
        }
        for (Contestant& contestant : peer.make(inputs)) {
            theirs.push_back(std::move(contestant));
        }
    }
    const Contestants ours = ::peers::ofQorvel(inputs);
    std::vector<Report::Row> rows;
    for (const TaskText& task : tasks()) {
        const auto isIt = [&task](const Contestant& contestant) {
            return contestant.task == task.task;
        };
        Contestants rivals;
        std::copy_if(theirs.begin(), theirs.end(), std::back_inserter(rivals), isIt);
        compete(task, *std::find_if(ours.begin(), ours.end(), isIt), rivals, inputs.points.size(),
                report, rows);
    }
    if (!rows.empty()) {
        Report::table(
            {"task", "qorvel ns", "spread", "peer", "peer ns", "spread", "ratio", "goal", ""},
            rows);
    }
}

} // namespace goals
