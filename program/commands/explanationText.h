#ifndef QORVEL_PROGRAM_COMMANDS_EXPLANATIONTEXT_H
#define QORVEL_PROGRAM_COMMANDS_EXPLANATIONTEXT_H

#include "engine/run/Explanation.h"
#include "engine/setup/Config.h"
#include "program/engineNames.h"
#include "program/input/Fix.h"

#include <cstdint>
#include <string>

namespace program {

/// An explanation for people, in lines: of the fix that began on that line of the input, by the
/// configuration's assignments and its specs for that use.
std::string explanationText(const Explanation& explanation, const Fix& fix, std::uint64_t line,
                            const Config& config, ProcessorKind use);

} // namespace program

#endif
