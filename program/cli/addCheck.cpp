#include "program/Interrupt.h"
#include "program/cli/SetupGroup.h"
#include "program/cli/commands.h"
#include "program/cli/inputGroup.h"
#include "program/commands/checkCommand.h"

#include <memory>

namespace program {

Command addCheck(CLI::App& program) {
    struct Checking {
        CheckOptions check;
        SetupGroup setup;
    };
    CLI::App& command = *program.add_subcommand(
        "check", "a configuration as it is understood, and what is wrong with it");
    const auto checking = std::make_shared<Checking>();
    checking->setup.addFile(command);
    addInput(command, checking->check.tracks, false);
    addEvents(command, checking->check.events);
    return {&command, [checking] {
                CheckOptions& options = checking->check;
                refuseSenseless(options.events);
                options.config = checking->setup.configFor(ProcessorKind::boxes, options.tracks);
                return unlessInterrupted([&options] { return runCheck(options); });
            }};
}

} // namespace program
