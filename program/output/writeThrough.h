#ifndef QORVEL_PROGRAM_OUTPUT_WRITETHROUGH_H
#define QORVEL_PROGRAM_OUTPUT_WRITETHROUGH_H

#include <filesystem>

namespace program {

/// Has a file on the disk. Returns 0 or the number of an error. Where there is no such thing,
/// nothing can be done.
int writeThrough(int file) noexcept;

/// The same for the names in a folder. The files have theirs already, whatever becomes of this.
void writeFolderThrough(const std::filesystem::path& folder) noexcept;

} // namespace program

#endif
