#ifndef QORVEL_TOOLS_COMMANDS_H
#define QORVEL_TOOLS_COMMANDS_H

#include "tools/Failure.h"
#include "tools/Options.h"

namespace host {

/// Reads movement data and writes what was found: boxes, presence or hangouts. Bad rows and a
/// summary go to standard error.
ExitCode runMovement(const Options& options);

/// Writes a sample world and, if wanted, the truth about it.
ExitCode runSynth(const Options& options);

} // namespace host

#endif
