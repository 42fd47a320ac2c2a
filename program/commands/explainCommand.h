#ifndef QORVEL_PROGRAM_COMMANDS_EXPLAINCOMMAND_H
#define QORVEL_PROGRAM_COMMANDS_EXPLAINCOMMAND_H

#include "engine/run/EventOptions.h"
#include "engine/setup/Config.h"
#include "program/Failure.h"
#include "program/engineNames.h"
#include "program/input/FixSource.h"
#include "program/input/InputOptions.h"

#include <cstdint>
#include <string>

namespace program {

struct ExplainOptions {
    Config config;
    ProcessorKind use = ProcessorKind::hangouts;
    InputOptions input; ///< read twice: no pipe
    EventOptions events;
    std::uint64_t row = 0;  ///< from 1, the header not counted; 0: told by the line
    std::uint64_t line = 0; ///< of the file, as messages name it
};

/// What becomes of one row: its boxes, which tests of which assignments it passes, how far the
/// series that it continues have come, what it finds and what not and why. Throws Failure(usage)
/// when there is no such row, or the configuration is not valid.
std::string explain(const ExplainOptions& options, FixSource& source);

/// Prints that.
ExitCode runExplain(const ExplainOptions& options);

} // namespace program

#endif
