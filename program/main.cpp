#include "engine/columns/Fault.h"
#include "program/Failure.h"
#include "program/Interrupt.h"
#include "program/cli/CommandLine.h"
#include "program/shownName.h"
#include "program/tell.h"

#include "qorvel/facade/StbThreadException.h"
#include "qorvel/geodesy/STException.h"

#include <cerrno>
#include <exception>
#include <fcntl.h>
#include <malloc.h>
#include <new>
#include <unistd.h>

namespace {

/// The number of a standard stream that is closed would go to the next file that is opened, and
/// what is told into the results. To use such a stream still fails.
void occupyStandardStreams() {
    for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(file, F_GETFD) < 0 && errno == EBADF) {
            open("/dev/null", file == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

/// What one batch gives back the next one asks for again: the heap keeps so much of it. Otherwise
/// the system clears these pages again and again, a tenth of the time of what writes much.
void keepFreedMemory() {
#ifdef __GLIBC__
    constexpr int kMiB = 1024 * 1024;
    mallopt(M_MMAP_THRESHOLD, kMiB);
    mallopt(M_TRIM_THRESHOLD, 4 * kMiB);
#endif
}

program::ExitCode run(int argc, const char* const* argv) {
    occupyStandardStreams();
    keepFreedMemory();
    program::installSignalHandlers();
    return program::runCommandLine(argc, argv);
}

program::ExitCode complain(const char* what, program::ExitCode code = program::ExitCode::broken) {
    if (code != program::ExitCode::readerGone) {
        program::tell(program::shownName(what), program::Level::error);
    }
    return code;
}

program::ExitCode guardedRun(int argc, const char* const* argv) {
    try {
        return run(argc, argv);
    } catch (const program::Failure& failure) {
        return complain(failure.what(), failure.code());
    } catch (const qorvel_engine::Fault& fault) {
        return complain(fault.what(), fault.code() == qorvel_engine::FaultCode::badConfiguration
                                          ? program::ExitCode::usage
                                          : program::ExitCode::broken);
    } catch (const StbThreadException&) { // not a std::exception
        return complain("the library's lock failed");
    } catch (const std::bad_alloc&) {
        return complain(
            "there is not enough memory; a shorter --late makes do with less, and so do "
            "fewer --threads");
    } catch (const std::exception& error) {
        return complain(error.what());
    } catch (...) {
        return complain("the library failed");
    }
}

} // namespace

int main(int argc, char** argv) {
    const program::ExitCode code = guardedRun(argc, argv);
    return code == program::ExitCode::interrupted ? program::interruptedExitCode()
                                                  : static_cast<int>(code);
}
