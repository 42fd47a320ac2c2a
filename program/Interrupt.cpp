#include "program/Interrupt.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <poll.h>

namespace program {

namespace {

constexpr int kInterrupts[] = {SIGINT, SIGTERM, SIGHUP};
constexpr std::int64_t kSameRequest = 500; ///< milliseconds

pthread_t gMain;
std::atomic<int> gFirst = 0; ///< the first interrupt, which others than the main thread ask for
std::int64_t gFirstTime = 0; ///< when it came, on the clock below
static_assert(decltype(gFirst)::is_always_lock_free);

/// Milliseconds since some time long ago, as may be asked in a signal handler.
std::int64_t now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return std::int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1000000;
}

/// The library's or GDAL's threads, and such as have only begun, may be given a signal that is
/// meant to wake the one that waits for input.
void onInterrupt(int number) {
    if (pthread_equal(pthread_self(), gMain) == 0) {
        pthread_kill(gMain, number);
        return;
    }
    if (gFirst == 0) {
        gFirst = number;
        gFirstTime = now();
    } else if (now() - gFirstTime >= kSameRequest) {
        std::signal(number, SIG_DFL);
        std::raise(number); // kills when this returns
    }
}

sigset_t allInterrupts() {
    sigset_t all;
    sigemptyset(&all);
    for (const int number : kInterrupts) {
        sigaddset(&all, number);
    }
    return all;
}

bool isIgnored(int number) {
    struct sigaction current {};
    return sigaction(number, nullptr, &current) == 0 && current.sa_handler == SIG_IGN;
}

} // namespace

void installSignalHandlers() {
    gMain = pthread_self();
    struct sigaction action {};
    action.sa_handler = onInterrupt;
    action.sa_mask = allInterrupts();
    for (const int number : kInterrupts) {
        if (!isIgnored(number)) {
            sigaction(number, &action, nullptr);
        }
    }
    action.sa_handler = SIG_IGN; // the write that fails says so
    sigaction(SIGPIPE, &action, nullptr);
    sigaction(SIGXFSZ, &action, nullptr);
}

bool interrupted() {
    return gFirst != 0;
}

int interruptedExitCode() {
    return 128 + gFirst;
}

InterruptsBlocked::InterruptsBlocked() {
    const sigset_t blocked = allInterrupts();
    pthread_sigmask(SIG_BLOCK, &blocked, &before_);
}

InterruptsBlocked::~InterruptsBlocked() {
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

bool waitReadable(int file) {
    const InterruptsBlocked blocked;
    pollfd wait{file, POLLIN, 0};
    // An interrupt can only arrive inside ppoll, which then ends. Others are waited through.
    while (!interrupted() && ppoll(&wait, 1, nullptr, &blocked.before()) < 0 && errno == EINTR) {
    }
    return !interrupted();
}

ExitCode unlessInterrupted(const std::function<ExitCode()>& command) {
    ExitCode code = ExitCode::interrupted;
    try {
        code = command();
    } catch (const Failure&) {
        if (!interrupted()) {
            throw;
        }
    }
    return interrupted() ? ExitCode::interrupted : code;
}

} // namespace program
