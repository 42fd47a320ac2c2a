// How much memory the library keeps: live bytes as asked of operator new, and the most that the
// process ever had resident. Each case runs in a process of its own, so that the peak is its own.

#include "bench/Report.h"
#include "bench/allocations.h"
#include "bench/scenarios.h"
#include "bench/sides.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using scenarios::Mode;
using scenarios::Scenario;
using Library = sides::Run<sides::Library>;

constexpr std::size_t kEntities = 1000000;

/// What a case finds out. Plain data: it crosses from process to process as it is.
struct Memory {
    double first = 0.0;   ///< bytes an entity, or an item
    double afterGc = 0.0; ///< bytes an entity after gc of everything
    double peakMegabytes = 0.0;
};

double bytesSince(std::size_t before, std::size_t count) {
    return (static_cast<double>(allocations::liveBytes()) - static_cast<double>(before)) /
           static_cast<double>(count);
}

void feed(Library& library, const Event& event) {
    sides::Found found;
    library.feed(event, found);
}

/// Each entity is seen so often, in one cell.
Memory afterSightings(Mode mode, int sightings) {
    const Scenario scenario = scenarios::residents(mode, 1);
    Library library(scenario);
    Event event = scenario.events.front();
    feed(library, event); // makes what every detector has
    const std::size_t before = allocations::liveBytes();
    for (std::size_t i = 1; i <= kEntities; ++i) {
        event.eid = i;
        for (int sighting = 0; sighting < sightings; ++sighting) {
            feed(library, event);
        }
    }
    Memory memory;
    memory.first = bytesSince(before, kEntities);
    library.gc(event.time + 1);
    memory.afterGc = bytesSince(before, kEntities);
    return memory;
}

/// Nothing can be reported yet.
Memory ofEntities(Mode mode) {
    return afterSightings(mode, 1);
}

/// Each entity is reported once, which is what stays after gc.
Memory ofReports(Mode mode) {
    return afterSightings(mode, 5);
}

/// One entity's series grows. Room for it grows in steps, so the dearest length counts; short ones
/// have nothing to spread their fixed costs over.
Memory ofItems(Mode mode) {
    constexpr std::size_t shortest = 1000;
    constexpr std::size_t longest = 1000000;
    const Scenario scenario = scenarios::residents(mode, 1);
    Library library(scenario);
    Event event = scenario.events.front();
    feed(library, event);
    const std::size_t before = allocations::liveBytes();
    Memory memory;
    for (std::size_t i = 1; i <= longest; ++i) {
        event.time += 1;
        feed(library, event);
        if (i >= shortest) {
            memory.first = std::max(memory.first, bytesSince(before, i));
        }
    }
    return memory;
}

double peakMegabytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024; // counted in kilobytes
}

/// Runs a case in a process of its own.
Memory alone(Memory (*measureCase)(Mode), Mode mode) {
    int ends[2];
    if (pipe(ends) != 0) {
        throw std::runtime_error("no pipe");
    }
    const pid_t child = fork();
    if (child == 0) {
        Memory memory = measureCase(mode);
        memory.peakMegabytes = peakMegabytes();
        _exit(write(ends[1], &memory, sizeof memory) == sizeof memory ? 0 : 1);
    }
    close(ends[1]);
    Memory memory;
    const bool complete = child > 0 && read(ends[0], &memory, sizeof memory) == sizeof memory;
    close(ends[0]);
    if (!complete || waitpid(child, nullptr, 0) != child) {
        throw std::runtime_error("a case came to no end");
    }
    return memory;
}

struct Case {
    std::string name;
    Memory (*measureCase)(Mode);
    Mode mode;
    double goal; ///< bytes
};

/// What has to stay when everything else is forgotten: in presence compression nothing, in
/// hangouts an entity's last event, by which its next one knows whether it stayed.
struct AfterGc {
    std::string name;
    double goal; ///< bytes an entity: two coordinates, the entity, and the table that holds them
};

} // namespace

int main() {
    const std::vector<Case> cases = {
        {"presence: an entity with one cell and one item", ofEntities, Mode::presence, 160},
        {"hangouts: an entity with one cell and one item", ofEntities, Mode::hangouts, 220},
        {"presence: a further item of a long series", ofItems, Mode::presence, 32},
        {"hangouts: a further item of a long series", ofItems, Mode::hangouts, 32},
    };
    const std::vector<AfterGc> afterGc = {
        {"presence: an entity after gc of everything", 0.01},
        {"hangouts: an entity after gc, its last event", 64},
    };
    Report report;
    Report::heading("Memory");
    std::vector<Report::Row> rows;
    const auto add = [&](const std::string& name, double bytes, double peak, double goal) {
        rows.push_back({name, number(bytes), peak == 0 ? "" : number(peak),
                        "at most " + number(goal), report.judge(bytes <= goal)});
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const Memory memory = alone(cases[i].measureCase, cases[i].mode);
        add(cases[i].name, memory.first, memory.peakMegabytes, cases[i].goal);
        if (i < afterGc.size()) {
            add(afterGc[i].name, memory.afterGc, 0, afterGc[i].goal);
        }
    }
    const Memory reported = alone(ofReports, Mode::presence);
    rows.push_back({"presence: a record that was reported, kept for ever", number(reported.afterGc),
                    number(reported.peakMegabytes), "", ""});
    Report::table({"what", "live bytes", "peak MB resident", "goal", ""}, rows);
    return report.finish();
}
