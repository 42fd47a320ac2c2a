#ifndef QORVEL_PROGRAM_FILEMARK_H
#define QORVEL_PROGRAM_FILEMARK_H

#include <cstdint>
#include <optional>
#include <vector>

namespace program {

/// By which a file is known again, whatever was added behind that length, bytes: check sums of what
/// it begins with and of what stands last before there. None where it is shorter, or cannot be
/// read.
std::optional<std::vector<std::uint64_t>> markOf(int file, std::uint64_t length);

} // namespace program

#endif
