#ifndef QORVEL_PROGRAM_CLI_COMPLETION_H
#define QORVEL_PROGRAM_CLI_COMPLETION_H

#include <string>

namespace CLI {
class App;
}

namespace program {

/// A script that completes commands, options and their words in bash, made from the parser itself.
std::string completionScript(const CLI::App& app);

} // namespace program

#endif
