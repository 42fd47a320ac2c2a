// The three modes of work, the library beside the straightforward model in the same run. An
// iteration is a whole scenario on a fresh processor; time is per event. Every benchmark first
// holds the two against each other, and a difference fails the run.

#include "bench/scenarios.h"
#include "bench/sideBySide.h"
#include "bench/sides.h"

#include <benchmark/benchmark.h>
#include <cstddef>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace scenarios;

bool differencesSeen = false;

template <class Side>
void measureSide(benchmark::State& state, const Scenario& scenario) {
    std::size_t results = 0;
    for (auto unused : state) {
        static_cast<void>(unused);
        state.PauseTiming();
        auto run = std::make_unique<sides::Run<Side>>(scenario);
        state.ResumeTiming();
        results = run->feedAll();
        state.PauseTiming();
        run.reset();
        state.ResumeTiming();
    }
    const auto events = static_cast<double>(scenario.events.size());
    state.counters["events"] = events;
    state.counters["results"] = static_cast<double>(results);
    state.counters["per_event"] = benchmark::Counter(
        events, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void checkAndMeasure(benchmark::State& state, const Scenario& scenario) {
    const std::string difference = sides::firstDifference(scenario, scenario.checkedEvents);
    if (!difference.empty()) {
        differencesSeen = true;
        std::cerr << scenario.name << ": " << difference << '\n';
        state.SkipWithError("library and model differ");
        return;
    }
    measureSide<sides::Library>(state, scenario);
}

/// A scenario that is made when the first benchmark on it runs, so that a filtered run is quick.
class Lazy {
public:
    explicit Lazy(Scenario (*make)()) : make_(make) {}

    const Scenario& get() {
        if (!scenario_) {
            scenario_ = std::make_unique<Scenario>(make_());
        }
        return *scenario_;
    }

private:
    Scenario (*make_)();
    std::unique_ptr<Scenario> scenario_;
};

void add(const std::string& name, Scenario (*make)()) {
    const auto scenario = std::make_shared<Lazy>(make);
    const auto run = [scenario](auto body) {
        return [scenario, body](benchmark::State& state) { body(state, scenario->get()); };
    };
    for (benchmark::internal::Benchmark* bench :
         {benchmark::RegisterBenchmark(("library/" + name).c_str(), run(checkAndMeasure)),
          benchmark::RegisterBenchmark(("model/" + name).c_str(),
                                       run(measureSide<sides::Model>))}) {
        bench->Unit(benchmark::kMillisecond);
    }
}

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    add("boxes/rows:1", [] { return boxesByRows(1, 200000); });
    add("boxes/rows:100", [] { return boxesByRows(10, 100000); });
    add("boxes/rows:10000", [] { return boxesByRows(100, 2000); });
    add("presence/entities:1000", [] { return townByMinutes(Mode::presence, 6); });
    add("hangouts/entities:1000", [] { return townByMinutes(Mode::hangouts, 6); });
    add("presence/items:3600", [] { return standStillBySeconds(Mode::presence, 4); });
    add("hangouts/items:3600", [] { return standStillBySeconds(Mode::hangouts, 4); });
    benchmark::RunSpecifiedBenchmarks();
    return differencesSeen ? 1 : 0;
}
