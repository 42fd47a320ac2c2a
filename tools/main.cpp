#include "engine/columns/Fault.h"
#include "tools/Failure.h"
#include "tools/Interrupt.h"
#include "tools/cli/CommandLine.h"
#include "tools/tell.h"

#include "qorvel/facade/StbThreadException.h"
#include "qorvel/geodesy/STException.h"

#include <cerrno>
#include <exception>
#include <fcntl.h>
#include <functional>
#include <new>
#include <unistd.h>
#include <variant>

namespace {

using host::Command;
using host::CommandLine;

/// The number of a standard stream that is closed would go to the next file that is opened, and
/// what is told into the results. To use such a stream still fails.
void occupyStandardStreams() {
    for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(file, F_GETFD) < 0 && errno == EBADF) {
            open("/dev/null", file == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

/// What is said of an input that an interrupt cut off counts for nothing.
host::ExitCode unlessInterrupted(const std::function<host::ExitCode()>& command) {
    host::ExitCode code = host::ExitCode::interrupted;
    try {
        code = command();
    } catch (const host::Failure&) {
        if (!host::interrupted()) {
            throw;
        }
    }
    return host::interrupted() ? host::ExitCode::interrupted : code;
}

host::ExitCode run(int argc, const char* const* argv) {
    occupyStandardStreams();
    host::installSignalHandlers();
    const auto read = host::readCommandLine(argc, argv);
    if (const auto* code = std::get_if<host::ExitCode>(&read)) {
        return *code;
    }
    const auto& line = std::get<CommandLine>(read);
    switch (line.command) {
    case Command::synth:
        return host::runSynth(line.synth);
    case Command::geohash:
        return host::runGeohash(line.geohash);
    case Command::check:
        return unlessInterrupted([&line] { return host::runCheck(line.check); });
    case Command::explain:
        return unlessInterrupted([&line] { return host::runExplain(line.explain); });
    default:
        return host::runAnalysis(line.run);
    }
}

host::ExitCode complain(const char* what, host::ExitCode code = host::ExitCode::broken) {
    if (code != host::ExitCode::readerGone) {
        host::tell(what);
    }
    return code;
}

host::ExitCode guardedRun(int argc, const char* const* argv) {
    try {
        return run(argc, argv);
    } catch (const host::Failure& failure) {
        return complain(failure.what(), failure.code());
    } catch (const qorvel_engine::Fault& fault) {
        return complain(fault.what(), fault.code() == qorvel_engine::FaultCode::badConfiguration
                                          ? host::ExitCode::usage
                                          : host::ExitCode::broken);
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
    const host::ExitCode code = guardedRun(argc, argv);
    return code == host::ExitCode::interrupted ? host::interruptedExitCode()
                                               : static_cast<int>(code);
}
