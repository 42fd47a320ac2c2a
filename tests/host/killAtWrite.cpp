// Put in front of a program by LD_PRELOAD: kills it, as kill -9 does, at the call of that number,
// from 1, that changes files; what it writes then is written by half. KILL_AT has the number.
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <unistd.h>

namespace {

bool isLast() {
    static std::atomic<long> left{std::atol(std::getenv("KILL_AT"))};
    return --left == 0;
}

template <class Function>
Function next(Function, const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

/// Calls the function of that name, if it comes to that.
template <class Function, class... Arguments>
auto callUnlessLast(Function function, const char* name, Arguments... arguments) {
    if (isLast()) {
        std::raise(SIGKILL);
    }
    return next(function, name)(arguments...);
}

} // namespace

extern "C" {

ssize_t write(int file, const void* bytes, std::size_t size) {
    const auto real = next(&write, "write");
    if (file > STDERR_FILENO && isLast()) {
        real(file, bytes, size / 2);
        std::raise(SIGKILL);
    }
    return real(file, bytes, size);
}

int fsync(int file) {
    return callUnlessLast(&fsync, "fsync", file);
}

int ftruncate(int file, off_t length) noexcept {
    return callUnlessLast(&ftruncate, "ftruncate", file, length);
}

int rename(const char* from, const char* to) noexcept {
    return callUnlessLast(&rename, "rename", from, to);
}

int link(const char* from, const char* to) noexcept {
    return callUnlessLast(&link, "link", from, to);
}

int unlink(const char* name) noexcept {
    return callUnlessLast(&unlink, "unlink", name);
}
}
