#ifndef QORVEL_PROGRAM_FILEMARK_H
#define QORVEL_PROGRAM_FILEMARK_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace program {

using FileMark = std::vector<std::uint64_t>;

/// By which a file is known again, whatever was added behind that length, bytes: check sums of what
/// it begins with and of what stands last before there. None where it is shorter, or cannot be
/// read.
std::optional<FileMark> markOf(int file, std::uint64_t length);

/// Of a file up to where it was read or written: throws Failure(broken) where there is none.
FileMark expectMark(const std::optional<FileMark>& mark, const std::string& file);

} // namespace program

#endif
