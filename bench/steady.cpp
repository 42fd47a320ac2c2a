// A steady stream for a tool that counts instructions: 1,000 entities that stay where they are and
// report once a minute, with gc once an hour. Nothing new is found after the first hour. Counts one
// hour of it only:
//
//   valgrind --tool=callgrind --instr-atstart=no steady presence|hangouts HOUR

#include "bench/scenarios.h"
#include "bench/sides.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>
#include <valgrind/callgrind.h>

namespace {

constexpr std::int64_t kMinute = 60000;

std::size_t liveOneHour(sides::Run<sides::Library>& library, scenarios::Scenario& scenario) {
    std::size_t results = 0;
    for (int minute = 0; minute < 60; ++minute) {
        results += library.feedAll();
        scenarios::repeatLater(scenario, kMinute);
    }
    return results;
}

} // namespace

int main(int argc, char** argv) {
    const std::string mode = argc == 3 ? argv[1] : "";
    const int hour = argc == 3 ? std::stoi(argv[2]) : 0;
    if ((mode != "presence" && mode != "hangouts") || hour < 1) {
        std::cerr << "usage: steady presence|hangouts HOUR\n";
        return 2;
    }
    using scenarios::Mode;
    scenarios::Scenario scenario =
        scenarios::residents(mode == "presence" ? Mode::presence : Mode::hangouts, 1000);
    sides::Run<sides::Library> library(scenario);
    for (int before = 1; before < hour; ++before) {
        liveOneHour(library, scenario);
    }
    CALLGRIND_START_INSTRUMENTATION;
    const std::size_t results = liveOneHour(library, scenario);
    CALLGRIND_STOP_INSTRUMENTATION;
    if (hour > 1 && results != 0) {
        std::cerr << results << " records in hour " << hour << ", which should bring none\n";
        return 1;
    }
    return 0;
}
