#ifndef QORVEL_PROGRAM_CLI_COMMANDS_H
#define QORVEL_PROGRAM_CLI_COMMANDS_H

#include "program/Failure.h"

#include <CLI/CLI.hpp>
#include <functional>

namespace program {

/// One of the program's commands.
struct Command {
    CLI::App* parser; ///< of its options
    /// Does what its options ask for, once they have been read. Throws Failure(usage) for values
    /// that have the right form but cannot be meant.
    std::function<ExitCode()> run;
};

/// Adds a command to the program's parser; each stands in a file of its own.
using AddCommand = Command (*)(CLI::App& program);

Command addBoxes(CLI::App& program);
Command addPresence(CLI::App& program);
Command addHangouts(CLI::App& program);
Command addStays(CLI::App& program);
Command addPlaces(CLI::App& program);
Command addMeet(CLI::App& program);
Command addExplain(CLI::App& program);
Command addCheck(CLI::App& program);
Command addGeohash(CLI::App& program);
Command addSynth(CLI::App& program);

/// In the order of the help.
inline constexpr AddCommand kCommands[] = {addBoxes,   addPresence, addHangouts, addStays,
                                           addPlaces,  addMeet,     addExplain,  addCheck,
                                           addGeohash, addSynth};

} // namespace program

#endif
