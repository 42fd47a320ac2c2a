#ifndef QORVEL_PROGRAM_CLI_COMMANDLINE_H
#define QORVEL_PROGRAM_CLI_COMMANDLINE_H

#include "program/Failure.h"
#include "program/commands/analysisCommand.h"
#include "program/commands/checkCommand.h"
#include "program/commands/explainCommand.h"
#include "program/commands/geohashCommand.h"
#include "program/commands/synthCommand.h"

#include <variant>

namespace program {

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

} // namespace program

#endif
