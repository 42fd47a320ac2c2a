#ifndef QORVEL_PROGRAM_COMMANDS_ANALYSISCOMMAND_H
#define QORVEL_PROGRAM_COMMANDS_ANALYSISCOMMAND_H

#include "engine/analysis/makeAnalysis.h"
#include "engine/run/EventOptions.h"
#include "engine/setup/Config.h"
#include "program/Failure.h"
#include "program/input/FilterOptions.h"
#include "program/input/InputOptions.h"
#include "program/output/ResultWriter.h"

#include <cstdint>
#include <optional>
#include <string>

namespace program {

/// What a run keeps for one that goes on with its input and its output.
struct StateOptions {
    std::string file;           ///< empty: nothing
    std::int64_t every = 10000; ///< ms, how long between two times that it is written, at least
    bool finishes = false;      ///< what is under way is written at the end, as if nothing followed
};

/// A question to one input.
struct RunOptions {
    AnalysisOptions analysis;
    Config config; ///< of a file, or made of options
    InputOptions input;
    OutputOptions output;
    EventOptions events;
    std::string rejectsFile;                  ///< empty: not wanted
    FilterOptions filter;                     ///< of the input's rows
    std::optional<std::uint64_t> mostRejects; ///< a bad row more ends the run; none: never
    bool isQuiet = false; ///< neither progress nor summary, but for one that programs read
    bool isSummaryJson = false;
    unsigned threads = 1; ///< at least 1
    StateOptions state{};

    /// How far a row may lie behind the newest one before it, ms; none: not said. Then a file is
    /// read twice to know it, and other input has what the engine takes for it.
    std::optional<std::int64_t> late;

    /// A file of which more MiB of rows would have to wait for older ones is sorted first.
    std::uint64_t sortBeyond = 512;
};

/// Takes the input through a session and writes what it finds. Throws Failure when the input or the
/// output fails, and what the engine throws; what was found up to there is written first, but a
/// file does not get its name.
ExitCode runAnalysis(const RunOptions& options);

} // namespace program

#endif
