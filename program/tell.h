#ifndef QORVEL_PROGRAM_TELL_H
#define QORVEL_PROGRAM_TELL_H

#include <string>

namespace program {

/// How much a message matters, in whose words programs read it.
enum class Level { info, warning, error };

/// How messages look on standard error.
enum class LogFormat {
    text, ///< a line for people, after the program's name
    json  ///< an object a line: {"level":"warning","message":"..."}
};

/// From now on, in the whole process. To be called before there are threads.
void setLogFormat(LogFormat format);

/// A message on standard error. It may quote the input: control characters, with which that could
/// steer the terminal, are written as "\x1b".
void tell(const std::string& words, Level level = Level::warning);

/// A line on standard error as it is.
void tellLine(std::string line);

} // namespace program

#endif
