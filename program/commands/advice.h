#ifndef QORVEL_PROGRAM_COMMANDS_ADVICE_H
#define QORVEL_PROGRAM_COMMANDS_ADVICE_H

#include "engine/run/InputFigures.h"
#include "engine/run/RunFigures.h"
#include "program/commands/analysisCommand.h"

#include <string>

namespace program {

/// Why an answer is empty, or leaves much out, and which option would change it, in one sentence;
/// empty where there is no reason for any. After the last row.
std::string adviceOn(const RunOptions& options, const RunFigures& run, const InputFigures& input);

} // namespace program

#endif
