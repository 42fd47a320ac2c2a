#include "tools/Interrupt.h"

#include <cerrno>
#include <csignal>
#include <poll.h>

namespace host {

namespace {

volatile std::sig_atomic_t gInterrupted = 0;

void onInterrupt(int) {
    gInterrupted = 1;
}

/// Of the calling thread. Returns what was blocked before.
sigset_t blockInterrupts() {
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGINT);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    return before;
}

} // namespace

void installSignalHandlers() {
    struct sigaction action {};
    action.sa_handler = onInterrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    action.sa_handler = SIG_IGN; // the write that fails says so
    sigaction(SIGPIPE, &action, nullptr);
    sigaction(SIGXFSZ, &action, nullptr);
}

bool interrupted() {
    return gInterrupted != 0;
}

void leaveInterruptsToOthers() {
    blockInterrupts();
}

bool waitReadable(int file) {
    const sigset_t before = blockInterrupts();
    pollfd wait{file, POLLIN, 0};
    // SIGINT can only arrive inside ppoll, which then ends. Other signals are waited through.
    while (!interrupted() && ppoll(&wait, 1, nullptr, &before) < 0 && errno == EINTR) {
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return !interrupted();
}

} // namespace host
