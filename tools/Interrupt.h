#ifndef QORVEL_TOOLS_INTERRUPT_H
#define QORVEL_TOOLS_INTERRUPT_H

namespace host {

/// From now on the first SIGINT only sets a flag, so that the run can end cleanly; a second one
/// kills as usual. A reader that goes away (SIGPIPE) becomes an ordinary write error.
void installSignalHandlers();

bool interrupted();

/// Called by a thread that does not wait for input: a SIGINT goes to one that does.
void leaveInterruptsToOthers();

/// Waits until the file can be read without blocking, or until a SIGINT: none is missed, however
/// it falls between the check of the flag and the wait. True when there is something to read.
bool waitReadable(int file);

} // namespace host

#endif
