#ifndef QORVEL_PROGRAM_FAILURE_H
#define QORVEL_PROGRAM_FAILURE_H

#include <stdexcept>
#include <string>

namespace program {

/// What the program's exit code tells its caller.
enum class ExitCode : int {
    done = 0,
    someRejected = 1, ///< done, but some rows were bad and were skipped
    usage = 2,        ///< nothing was processed: wrong options or configuration
    broken = 3,       ///< the input is unusable or broke off, the output failed, or the library did
    interrupted = 130, ///< or 128 and the number of another signal; what was found has been written
    readerGone = 141   ///< who read standard output has left, as `head` does: no fault
};

/// Ends the run with a message for people and an exit code.
class Failure : public std::runtime_error {
public:
    Failure(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}

    ExitCode code() const { return code_; }

private:
    ExitCode code_;
};

} // namespace program

#endif
