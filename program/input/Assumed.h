#ifndef QORVEL_PROGRAM_INPUT_ASSUMED_H
#define QORVEL_PROGRAM_INPUT_ASSUMED_H

#include <cstdint>
#include <string>
#include <vector>

namespace program {

/// How many times were read by what had to be assumed about them.
struct Assumed {
    std::uint64_t utc = 0;          ///< without an offset, as UTC
    std::uint64_t seconds = 0;      ///< plain numbers, as seconds
    std::uint64_t microseconds = 0; ///< the same
    std::uint64_t nanoseconds = 0;

    Assumed& operator+=(const Assumed& other);

    /// What is to be said about it, a sentence each.
    std::vector<std::string> remarks() const;
};

} // namespace program

#endif
