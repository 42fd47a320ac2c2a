#ifndef QORVEL_TOOLS_COMMANDS_SYNTHCOMMAND_H
#define QORVEL_TOOLS_COMMANDS_SYNTHCOMMAND_H

#include "tools/Failure.h"
#include "tools/world/World.h"

#include <string>

namespace host {

struct SynthOptions {
    world::WorldOptions world;
    std::string tracksFile = "-";
    std::string truthFile; ///< empty: not wanted
};

/// Writes a sample world and, if wanted, the truth about it.
ExitCode runSynth(const SynthOptions& options);

} // namespace host

#endif
