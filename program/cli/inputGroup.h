#ifndef QORVEL_PROGRAM_CLI_INPUTGROUP_H
#define QORVEL_PROGRAM_CLI_INPUTGROUP_H

#include "engine/run/EventOptions.h"
#include "program/engineNames.h"
#include "program/input/InputOptions.h"

#include <CLI/CLI.hpp>

namespace program {

/// The options that say where tracks come from and how they read.
void addInput(CLI::App& command, InputOptions& input, bool isRequired = true);

/// Those that say what the tracks do not.
void addEvents(CLI::App& command, EventOptions& events);

/// Without a configuration that tells them apart. Throws Failure(usage) where columns of them are
/// named.
void ignoreKeys(InputOptions& input);

/// Throws Failure(usage) for what the library would let pass, or would only fail on in silence.
void refuseSenseless(const EventOptions& events);

} // namespace program

#endif
