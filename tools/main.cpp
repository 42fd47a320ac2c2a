#include "tools/Failure.h"
#include "tools/Interrupt.h"
#include "tools/Options.h"
#include "tools/commands.h"

#include "qorvel/facade/StbThreadException.h"
#include "qorvel/geodesy/STException.h"

#include <cstdio>
#include <exception>
#include <variant>

namespace {

host::ExitCode run(int argc, const char* const* argv) {
    host::installSignalHandlers();
    const auto options = host::readOptions(argc, argv);
    if (const auto* code = std::get_if<host::ExitCode>(&options)) {
        return *code;
    }
    const auto& wanted = std::get<host::Options>(options);
    return wanted.command == host::Command::synth ? host::runSynth(wanted)
                                                  : host::runMovement(wanted);
}

host::ExitCode complain(const char* what, host::ExitCode code = host::ExitCode::broken) {
    std::fprintf(stderr, "qorvel: %s\n", what);
    return code;
}

host::ExitCode guardedRun(int argc, const char* const* argv) {
    try {
        return run(argc, argv);
    } catch (const host::Failure& failure) {
        return complain(failure.what(), failure.code());
    } catch (const StbThreadException&) { // not a std::exception
        return complain("the library's lock failed");
    } catch (const std::exception& error) {
        return complain(error.what());
    } catch (...) {
        return complain("the library failed");
    }
}

} // namespace

int main(int argc, char** argv) {
    return static_cast<int>(guardedRun(argc, argv));
}
