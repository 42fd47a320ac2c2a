#ifndef QORVEL_PROGRAM_COMMANDS_KEPTOPTIONS_H
#define QORVEL_PROGRAM_COMMANDS_KEPTOPTIONS_H

#include "program/commands/analysisCommand.h"

#include <string>
#include <utility>
#include <vector>

namespace program {

/// Options on which output hangs besides the session's own, with their values as texts: always the
/// same options in the same order. A run can only go on with those that it was begun with.
std::vector<std::pair<std::string, std::string>> keptOptions(const RunOptions& options);

} // namespace program

#endif
