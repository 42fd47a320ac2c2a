#ifndef QORVEL_ENGINE_COLUMNS_DETAIL_CHECKTEXT_H
#define QORVEL_ENGINE_COLUMNS_DETAIL_CHECKTEXT_H

#include <cstdint>
#include <string_view>

namespace qorvel_engine::detail {

enum class TextFault : std::uint8_t { none, notUtf8, hasNul };

/// Is it UTF-8 without NUL characters? Overlong forms, surrogates and what lies beyond U+10FFFF are
/// not. The fault that comes first is told.
TextFault checkText(std::string_view text) noexcept;

/// Are all its characters ASCII, and none of them NUL? Faster than to find out what is wrong.
bool isPlainText(std::string_view text) noexcept;

} // namespace qorvel_engine::detail

#endif
