#ifndef QORVEL_ENGINE_SETUP_DETAIL_TOMLNESTING_H
#define QORVEL_ENGINE_SETUP_DETAIL_TOMLNESTING_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace qorvel_engine {

/// The line, the first being 1, on which a text of TOML nests deeper than any configuration: more
/// than 8 brackets open within each other, or more than 8 dots in one key; none if no line does.
/// What stands in strings and comments does not count. To be asked before the text is parsed, since
/// the parser takes a call, and so a piece of the stack, for every level.
std::optional<std::uint32_t> tooDeepLine(std::string_view text);

} // namespace qorvel_engine

#endif
