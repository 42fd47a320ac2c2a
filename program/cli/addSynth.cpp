#include "program/cli/commands.h"
#include "program/cli/options.h"
#include "program/commands/synthCommand.h"

#include <memory>

namespace program {

Command addSynth(CLI::App& program) {
    CLI::App& command = *program.add_subcommand(
        "synth", "a made-up town's tracks and the truth about them, the same on every machine");
    const auto options = std::make_shared<SynthOptions>();
    addValue(command, "--entities", options->world.entities, "people, vans and ships")
        ->check(CLI::Range(1U, 1000000U));
    addValue(command, "--days", options->world.days, "length")->check(CLI::Range(1U, 3650U));
    addValue(command, "--seed", options->world.seed, "another one is another world");
    addValue(command, "--out", options->tracksFile, "file for the tracks; - for standard output");
    command.add_option("--truth", options->truthFile,
                       "file for who stayed where, from when to when; - for standard output");
    return {&command, [options] {
                if (isSameFile(options->truthFile, options->tracksFile)) {
                    throw usageFailure("--out and --truth cannot be the same");
                }
                return runSynth(*options);
            }};
}

} // namespace program
