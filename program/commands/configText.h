#ifndef QORVEL_PROGRAM_COMMANDS_CONFIGTEXT_H
#define QORVEL_PROGRAM_COMMANDS_CONFIGTEXT_H

#include "engine/setup/Config.h"
#include "program/engineNames.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace program {

// Entries of a configuration for people: a name, and lines that begin with two blanks.

/// "assignment 2 (line 24)"; `index` counts from 0.
std::string entryName(const char* kind, std::size_t index, std::uint32_t line);

std::string masterText(const Config::Master& master);
std::string assignmentText(const Config::Assignment& assignment);
std::string specText(const Config::Spec& spec, ProcessorKind use);

/// "everywhere", or the cells that an event must lie in.
std::string areaText(const Config::Assignment& assignment);

/// "anywhere", or "within 1000 m of 47.36, 8.54".
std::string radiusText(const Config::Assignment& assignment);

/// "any", or "50 m".
std::string toleranceText(const Config::Assignment& assignment);

/// "any", or the key between quotes.
std::string primaryKeyText(const std::string& key);

} // namespace program

#endif
