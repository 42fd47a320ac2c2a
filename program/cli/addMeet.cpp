#include "program/cli/commands.h"
#include "program/cli/options.h"
#include "program/cli/runGroup.h"

#include <cmath>
#include <memory>

namespace program {

namespace {

std::int64_t readMinutes(double minutes) {
    constexpr double kMinute = 60'000.0;
    constexpr double kMost = 1e9;
    if (!(minutes >= 0.0 && minutes <= kMost)) {
        throw usageFailure("--min-minutes must be a number of minutes, 0 or more");
    }
    return static_cast<std::int64_t>(std::ceil(minutes * kMinute));
}

} // namespace

Command addMeet(CLI::App& program) {
    CLI::App& command = *program.add_subcommand("meet", "who was with whom, from when to when");
    const auto run = std::make_shared<RunOptions>();
    run->analysis.question = Question::encounters;
    addRun(command, *run);
    addLate(command, *run);
    addSortBeyond(command, *run);
    EncounterOptions& encounters = run->analysis.encounters;
    addDistance(command, "--within", encounters.within, "how near two are who are together");
    addLength(command, "--apart", encounters.apart,
              "how far apart in time two fixes may be for what is between them to be known: "
              "where somebody was on the way from one to the next, or that two stayed "
              "together");
    command.add_flag("--fixes-only", encounters.fixesOnly,
                     "ask only whether two have fixes within --within and --apart of each other, "
                     "not where they were in between");
    command
        .add_option_function<double>(
            "--min-minutes",
            [&encounters](const double& minutes) { encounters.minDuration = readMinutes(minutes); },
            "leave out shorter encounters")
        ->default_str("0");
    command.add_flag("--pairs", encounters.pairs,
                     "the sums of each pair of entities, longest together first, in place of "
                     "their encounters");
    return {&command, [run] { return runUnconfigured(*run); }};
}

} // namespace program
