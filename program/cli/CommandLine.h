#ifndef QORVEL_PROGRAM_CLI_COMMANDLINE_H
#define QORVEL_PROGRAM_CLI_COMMANDLINE_H

#include "program/Failure.h"

namespace program {

/// Does what the command line asks for. Throws Failure, and what commands throw.
ExitCode runCommandLine(int argc, const char* const* argv);

} // namespace program

#endif
