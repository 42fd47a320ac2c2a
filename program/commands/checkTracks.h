#ifndef QORVEL_PROGRAM_COMMANDS_CHECKTRACKS_H
#define QORVEL_PROGRAM_COMMANDS_CHECKTRACKS_H

#include "engine/setup/Config.h"
#include "program/commands/EventMaker.h"
#include "program/engineNames.h"
#include "program/input/FixSource.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace program {

/// What movement data is like, as far as a configuration depends on it.
struct TrackFigures {
    std::uint64_t rows = 0;
    std::uint64_t rejected = 0; ///< bad rows
    std::uint64_t untaken = 0;  ///< good rows that no assignment takes, or no cell holds
    /// Between an entity's fixes, ms, within 2 %; none where no entity has two.
    std::optional<std::int64_t> medianGap;
    std::vector<ConfigFault> warnings;
};

/// Reads the data once, in bounded memory: entities and keys beyond some ten thousand are not
/// looked at. The configuration has no errors.
TrackFigures checkTracks(const Config& config, const EventOptions& events, FixSource& source);

} // namespace program

#endif
