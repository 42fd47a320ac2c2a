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

/// The same with a library's words, if it said any: SQLite names a full disk, others tell only that
/// they could not write.
inline Failure libraryFailure(const std::string& name, const std::string& said) {
    const std::string reason = said.empty() ? "its end is missing" : said;
    return writeFailure(name,
                        reason.ends_with("is full") ? reason : reason + "; is the disk full?");
}

} // namespace program

#endif
