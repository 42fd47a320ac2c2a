#ifndef QORVEL_PROGRAM_FILENAME_H
#define QORVEL_PROGRAM_FILENAME_H

#include <string>

namespace program {

/// In small letters; others than those of ASCII stay.
std::string lowered(std::string name);

/// In small letters, without the .gz behind it: what tells the format.
std::string formatName(const std::string& file);

/// Whether the name ends in .gz.
bool isPacked(const std::string& file);

/// Whether there is something of that name, a folder or a pipe too.
bool isThere(const std::string& file);

} // namespace program

#endif
