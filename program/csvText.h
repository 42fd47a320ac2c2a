#ifndef QORVEL_PROGRAM_CSVTEXT_H
#define QORVEL_PROGRAM_CSVTEXT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// Text of CSV fields. Numbers are formed from integers only, so that the same value is the same
/// bytes on every machine and in every locale.
namespace csv {

/// Appends a field, between quotes (with inner quotes doubled) only where a reader would otherwise
/// not get the same text back.
void appendField(std::string& out, std::string_view text);

/// The same for a file that a spreadsheet opens, which would run a text such as "=A1" as a formula:
/// what begins with one of = + - @ or a tab, carriage return or line feed gets an apostrophe in
/// front. So does what begins with an apostrophe: without its first one, a field that begins with
/// an apostrophe is always the text that it was.
void appendSafeField(std::string& out, std::string_view text);

void appendInteger(std::string& out, std::int64_t value);
void appendUnsigned(std::string& out, std::uint64_t value);

/// Appends units / 10^decimals with exactly that many decimals (1 to 19): (-5, 2) gives "-0.05".
void appendDecimal(std::string& out, std::int64_t units, std::uint32_t decimals);

// What follows puts text where there is room for all that it may write, and returns its end. Behind
// that end, as far as there is to be room, anything may have been written.

/// A field that needs no quotes, with room for all of it; null, if it needs them.
char* putPlainField(char* at, std::string_view text);

inline constexpr std::size_t kMostNumber = 24; ///< room for a number

char* putInteger(char* at, std::int64_t value);

/// As appendDecimal.
char* putDecimal(char* at, std::int64_t units, std::uint32_t decimals);

} // namespace csv

#endif
