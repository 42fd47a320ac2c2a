#ifndef QORVEL_TOOLS_COMMANDS_CHECKCOMMAND_H
#define QORVEL_TOOLS_COMMANDS_CHECKCOMMAND_H

#include "engine/setup/Config.h"
#include "tools/Failure.h"
#include "tools/input/InputOptions.h"
#include "tools/setup/EventMaker.h"
#include "tools/setup/engineNames.h"

namespace host {

struct CheckOptions {
    Config config;
    InputOptions tracks; ///< data that the configuration is meant for; no file: none
    EventOptions events;
};

/// Prints a configuration as it is understood, and what is wrong with it or surely not meant.
/// Returns `usage` when there are errors.
ExitCode runCheck(const CheckOptions& options);

} // namespace host

#endif
