#ifndef QORVEL_PROGRAM_COMMANDS_CHECKCOMMAND_H
#define QORVEL_PROGRAM_COMMANDS_CHECKCOMMAND_H

#include "engine/run/TrackCheck.h"
#include "program/Failure.h"
#include "program/engineNames.h"
#include "program/input/InputOptions.h"

namespace program {

struct CheckOptions {
    Config config;
    InputOptions tracks; ///< data that the configuration is meant for; no file: none
    EventOptions events;
};

class FixSource;

/// Reads data once and holds the configuration, which has no errors, against it.
TrackFigures checkTracks(const Config& config, const EventOptions& events, FixSource& source);

/// Prints a configuration as it is understood, and what is wrong with it or surely not meant.
/// Returns `usage` when there are errors.
ExitCode runCheck(const CheckOptions& options);

} // namespace program

#endif
