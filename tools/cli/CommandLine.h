#ifndef QORVEL_TOOLS_CLI_COMMANDLINE_H
#define QORVEL_TOOLS_CLI_COMMANDLINE_H

#include "tools/Failure.h"
#include "tools/commands/analysisCommand.h"
#include "tools/commands/checkCommand.h"
#include "tools/commands/explainCommand.h"
#include "tools/commands/geohashCommand.h"
#include "tools/commands/synthCommand.h"

#include <variant>

namespace host {

enum class Command { analyse, explain, check, geohash, synth };

/// What the command line asks for; of the commands' options those of the one that is asked for.
struct CommandLine {
    Command command = Command::analyse;
    RunOptions run; ///< boxes, presence, hangouts, stays, meet
    ExplainOptions explain;
    CheckOptions check;
    GeohashOptions geohash;
    SynthOptions synth;
};

/// Reads the command line. Returns an exit code instead where all is said already: after --help,
/// --version and complaints. Throws Failure(usage) for values that have the right form but cannot
/// be meant.
std::variant<CommandLine, ExitCode> readCommandLine(int argc, const char* const* argv);

} // namespace host

#endif
