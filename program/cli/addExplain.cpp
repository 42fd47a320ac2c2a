#include "program/Interrupt.h"
#include "program/cli/SetupGroup.h"
#include "program/cli/commands.h"
#include "program/cli/inputGroup.h"
#include "program/cli/options.h"
#include "program/commands/explainCommand.h"

#include <memory>

namespace program {

namespace {

struct Explaining {
    ExplainOptions explain;
    SetupGroup setup;
};

ExitCode run(Explaining& explaining) {
    ExplainOptions& options = explaining.explain;
    refuseSenseless(options.events);
    if (options.row + options.line == 0) {
        throw usageFailure("which row? --row or --line says it");
    }
    options.config = explaining.setup.configFor(options.use, options.input);
    return unlessInterrupted([&options] { return runExplain(options); });
}

} // namespace

Command addExplain(CLI::App& program) {
    const std::map<std::string, ProcessorKind> uses = {{"boxes", ProcessorKind::boxes},
                                                       {"presence", ProcessorKind::presence},
                                                       {"hangouts", ProcessorKind::hangouts}};
    CLI::App& command = *program.add_subcommand(
        "explain",
        "which tests a row passes, what it adds to, and why it finds something or nothing");
    const auto explaining = std::make_shared<Explaining>();
    ExplainOptions& options = explaining->explain;
    addInput(command, options.input);
    CLI::Option* row =
        command.add_option("--row", options.row, "number of the row, the first being 1");
    command.add_option("--line", options.line, "or the line on which it begins")->excludes(row);
    addChoice(command, "--for", options.use, uses, "what is to be explained");
    addEvents(command, options.events);
    explaining->setup.add(command, "as for that command");
    command.get_option("--ratio")->default_str("that command's");
    command.parse_complete_callback([&command, explaining] {
        if (explaining->explain.use == ProcessorKind::presence && command.count("--ratio") == 0) {
            explaining->setup.setRatio(kPresenceRatio);
        }
    });
    return {&command, [explaining] { return run(*explaining); }};
}

} // namespace program
