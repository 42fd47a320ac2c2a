#ifndef QORVEL_PROGRAM_INTERRUPT_H
#define QORVEL_PROGRAM_INTERRUPT_H

#include "program/Failure.h"

#include <csignal>
#include <functional>

namespace program {

/// To be called by the main thread, the one that waits for input. From now on the first SIGINT,
/// SIGTERM or SIGHUP only sets a flag, so that the run can end cleanly. Another one half a second
/// later or more kills: what comes sooner is the same request, since a terminal that closes and
/// timeout(1) send theirs twice. Which of them was ignored at the program's start (nohup) stays so.
/// A reader that goes away (SIGPIPE) and a file that gets too large become ordinary write errors.
void installSignalHandlers();

bool interrupted();

/// What a shell makes of a process that such a signal killed: 128 and the number of the first one.
int interruptedExitCode();

/// Runs a command that reads an input. What it says of one that an interrupt cut off counts for
/// nothing.
ExitCode unlessInterrupted(const std::function<ExitCode()>& command);

/// As long as it lives, its thread is not disturbed by interrupts, nor ever are those that it
/// starts meanwhile.
class InterruptsBlocked {
public:
    InterruptsBlocked();
    ~InterruptsBlocked();
    InterruptsBlocked(const InterruptsBlocked&) = delete;
    InterruptsBlocked& operator=(const InterruptsBlocked&) = delete;

    /// Those that were blocked before.
    const sigset_t& before() const { return before_; }

private:
    sigset_t before_;
};

/// Waits until the file can be read without blocking, or until an interrupt: none is missed,
/// however it falls between the check of the flag and the wait. True when there is something to
/// read.
bool waitReadable(int file);

} // namespace program

#endif
