#ifndef QORVEL_PROGRAM_TELL_H
#define QORVEL_PROGRAM_TELL_H

#include <string>

namespace program {

/// A line on standard error, after the program's name. It may quote the input: control characters,
/// with which that could steer the terminal, are written as "\x1b".
void tell(const std::string& words);

} // namespace program

#endif
