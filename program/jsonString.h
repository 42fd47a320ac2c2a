#ifndef QORVEL_PROGRAM_JSONSTRING_H
#define QORVEL_PROGRAM_JSONSTRING_H

#include <string>
#include <string_view>

namespace program {

/// The text with U+FFFD for each byte that is not UTF-8, for formats that can hold nothing else.
std::string asUtf8(std::string_view text);

/// Appends a JSON string, with quotes; by asUtf8.
void appendJsonString(std::string& out, std::string_view text);

} // namespace program

#endif
