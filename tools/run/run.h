#ifndef QORVEL_TOOLS_RUN_RUN_H
#define QORVEL_TOOLS_RUN_RUN_H

#include "tools/Failure.h"
#include "tools/input/InputOptions.h"
#include "tools/output/ResultWriter.h"
#include "tools/run/Analysis.h"
#include "tools/setup/EventMaker.h"

#include <cstdint>
#include <optional>
#include <string>

namespace host {

/// One pass over one input.
struct RunOptions {
    InputOptions input;
    OutputOptions output;
    EventOptions events;
    std::string rejectsFile;          ///< empty: not wanted
    bool isStrict = false;            ///< a bad row ends the run
    bool isQuiet = false;             ///< neither progress nor summary
    unsigned threads = 1;             ///< at least 1
    std::optional<std::int64_t> late; ///< see makeHorizon
};

/// Takes the input through the analysis and writes what it finds. Throws Failure when the input or
/// the output fails; what was found up to there is written first, but a file does not get its name.
ExitCode run(const RunOptions& options, Analysis& analysis);

} // namespace host

#endif
