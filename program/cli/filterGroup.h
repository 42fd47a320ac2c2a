#ifndef QORVEL_PROGRAM_CLI_FILTERGROUP_H
#define QORVEL_PROGRAM_CLI_FILTERGROUP_H

#include "program/input/FilterOptions.h"
#include "program/input/InputOptions.h"

#include <CLI/CLI.hpp>

namespace program {

/// The options that leave rows out. To be added after those of the input, whose zone the times
/// without an offset are in.
void addFilters(CLI::App& command, const InputOptions& input, FilterOptions& filter);

} // namespace program

#endif
