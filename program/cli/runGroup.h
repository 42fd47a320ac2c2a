#ifndef QORVEL_PROGRAM_CLI_RUNGROUP_H
#define QORVEL_PROGRAM_CLI_RUNGROUP_H

#include "program/commands/analysisCommand.h"

#include <CLI/CLI.hpp>

namespace program {

/// The options of every question to tracks.
void addRun(CLI::App& command, RunOptions& run);

/// --late, for questions that look back.
void addLate(CLI::App& command, RunOptions& run);

/// --sort-beyond, for questions whose rows wait for older ones.
void addSortBeyond(CLI::App& command, RunOptions& run);

/// Once the options are read: what follows from one for another. Throws Failure(usage) where one
/// file would be written over another, and for what cannot be meant.
void settle(RunOptions& run);

/// Runs a question that needs no configuration.
ExitCode runUnconfigured(RunOptions& run);

} // namespace program

#endif
