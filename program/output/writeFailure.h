#ifndef QORVEL_PROGRAM_OUTPUT_WRITEFAILURE_H
#define QORVEL_PROGRAM_OUTPUT_WRITEFAILURE_H

#include "program/Failure.h"

#include <cstring>
#include <string>

namespace program {

/// "cannot write NAME: REASON".
inline Failure writeFailure(const std::string& name, const std::string& reason) {
    return {ExitCode::broken, "cannot write " + name + ": " + reason};
}

/// The same with the system's words for an error number.
inline Failure writeFailure(const std::string& name, int reason) {
    return writeFailure(name, std::string(std::strerror(reason)));
}

} // namespace program

#endif
