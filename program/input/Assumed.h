#ifndef QORVEL_PROGRAM_INPUT_ASSUMED_H
#define QORVEL_PROGRAM_INPUT_ASSUMED_H

#include <cstdint>
#include <string>
#include <vector>

namespace program {

/// What was read, or left alone, by what had to be assumed about it: times, and files in folders.
struct Assumed {
    std::uint64_t utc = 0;          ///< without an offset, as UTC
    std::uint64_t seconds = 0;      ///< plain numbers, as seconds
    std::uint64_t microseconds = 0; ///< the same
    std::uint64_t nanoseconds = 0;
    std::uint64_t withoutFormat = 0; ///< files that were not read, see InputFiles
    std::uint64_t linkedFolders = 0; ///< the same

    Assumed& operator+=(const Assumed& other);

    /// What is to be said about it, a sentence each.
    std::vector<std::string> remarks() const;
};

} // namespace program

#endif
