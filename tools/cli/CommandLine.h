#ifndef QORVEL_TOOLS_CLI_COMMANDLINE_H
#define QORVEL_TOOLS_CLI_COMMANDLINE_H

#include "engine/setup/Config.h"
#include "tools/Failure.h"
#include "tools/commands/checkCommand.h"
#include "tools/commands/explainCommand.h"
#include "tools/commands/geohashCommand.h"
#include "tools/commands/synthCommand.h"
#include "tools/run/run.h"
#include "tools/setup/engineNames.h"

#include <cstdint>
#include <variant>

namespace host {

enum class Command { boxes, presence, hangouts, stays, meet, explain, check, geohash, synth };

/// What the command line asks for; of the commands' options those of the one that is asked for.
struct CommandLine {
    Command command = Command::hangouts;

    // boxes, presence, hangouts, stays, meet
    RunOptions run;
    Config config;                       ///< of a file, or made of options
    bool lastFigures = false;            ///< --final
    std::uint32_t maxEntitiesPerBox = 0; ///< --max-per-box

    ExplainOptions explain;
    CheckOptions check;
    GeohashOptions geohash;
    SynthOptions synth;

    /// What the command takes a processor for.
    ProcessorKind use() const;
};

/// Reads the command line. Returns an exit code instead where all is said already: after --help,
/// --version and complaints. Throws Failure(usage) for values that have the right form but cannot
/// be meant.
std::variant<CommandLine, ExitCode> readCommandLine(int argc, const char* const* argv);

} // namespace host

#endif
