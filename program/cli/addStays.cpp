// The commands that look for stays: stays and places.
#include "program/cli/commands.h"
#include "program/cli/options.h"
#include "program/cli/runGroup.h"

#include <memory>

namespace program {

namespace {

std::shared_ptr<RunOptions> addStaying(CLI::App& command, Question question) {
    const auto options = std::make_shared<RunOptions>();
    RunOptions& run = *options;
    run.analysis.question = question;
    addRun(command, run);
    addLate(command, run);
    addSortBeyond(command, run);
    command.get_option("--late")->description(
        "how far a row may lie behind the newest one of its entity before it, as in \"2 hours\", "
        "or "
        "\"ever\": rows are put in order as far as that, which takes memory for so many, and later "
        "ones are left out and counted. Not said: a file may be in any order (it is looked "
        "through first), other input has \"1 hours\"");
    StayOptions& stays = run.analysis.stays;
    addDistance(command, "--radius", stays.radius,
                "how far from the middle of a stay its fixes may lie");
    addLength(command, "--min-stay", stays.minStay,
              "the least time that makes a stay; its fixes have to show a third of it");
    addLength(command, "--max-gap", stays.maxGap,
              "a longer silence ends a stay, unless the next fix is at the same place; half of the "
              "silence before a stay and after it, and of this at most, is part of it");
    addLength(command, "--max-bridge", stays.maxBridge, "a longer silence ends it in any case");
    addLength(command, "--max-away", stays.maxAway,
              "fixes elsewhere end a stay when they go on for so long; shorter runs are "
              "strays");
    addDistance(command, "--max-accuracy", stays.maxAccuracy,
                "a less accurate fix neither begins, ends nor moves a stay");
    return options;
}

} // namespace

Command addStays(CLI::App& program) {
    CLI::App& command = *program.add_subcommand("stays", "who stayed where, from when to when");
    const auto run = addStaying(command, Question::stays);
    return {&command, [run] { return runUnconfigured(*run); }};
}

Command addPlaces(CLI::App& program) {
    CLI::App& command = *program.add_subcommand(
        "places", "where who stayed again and again, how long, by night and by weekday");
    const auto run = addStaying(command, Question::places);
    command.get_option("--radius")
        ->description("how far from the middle of a stay its fixes may lie, and from that of a "
                      "place its stays");
    command.add_flag("--label", run->analysis.places.labels,
                     "name the likely home, with most hours by night, and work, with most "
                     "hours from 9 to 17 on Mondays to Fridays elsewhere, if a visit is an "
                     "hour long on average");
    return {&command, [run] {
                run->analysis.places.zone = run->input.zone.value_or(TimeZone());
                return runUnconfigured(*run);
            }};
}

} // namespace program
