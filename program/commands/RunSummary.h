#ifndef QORVEL_PROGRAM_COMMANDS_RUNSUMMARY_H
#define QORVEL_PROGRAM_COMMANDS_RUNSUMMARY_H

#include <cstdint>
#include <string>
#include <vector>

namespace program {

/// What a run has done.
struct RunSummary {
    bool isInterrupted;
    std::uint64_t read; ///< rows of the input
    std::uint64_t processed;
    std::uint64_t leftOut; ///< by filters
    std::uint64_t rejected;
    std::uint64_t results;
    double seconds;
    double peakMemoryMiB;
    std::vector<std::string> remarks; ///< a sentence each

    /// A line for people, without the remarks.
    std::string text() const;

    /// An object {"summary":{...}} on one line, for programs.
    std::string json() const;
};

} // namespace program

#endif
