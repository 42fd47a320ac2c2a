#ifndef QORVEL_PROGRAM_COMMANDS_SYNTHCOMMAND_H
#define QORVEL_PROGRAM_COMMANDS_SYNTHCOMMAND_H

#include "program/Failure.h"
#include "testing/world/World.h"

#include <string>

namespace program {

struct SynthOptions {
    world::WorldOptions world;
    std::string tracksFile = "-";
    std::string truthFile; ///< empty: not wanted
};

/// Writes a sample world and, if wanted, the truth about it.
ExitCode runSynth(const SynthOptions& options);

} // namespace program

#endif
