#ifndef QORVEL_PROGRAM_CLI_OPTIONS_H
#define QORVEL_PROGRAM_CLI_OPTIONS_H

#include "engine/setup/Span.h"
#include "program/Failure.h"
#include "program/engineNames.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace program {

/// A value that has the right form but cannot be meant.
Failure usageFailure(const std::string& what);
Failure usageFailure(const std::string& option, const std::string& text, const std::string& what);

/// A span in words, in ms.
/// @param otherwise  what is wanted in place of months and years, which have no fixed length
std::int64_t readLength(const std::string& option, const std::string& text,
                        const char* otherwise = "want days or a shorter unit");

/// Of a quantity: what its name behind a number multiplies that with.
struct Unit {
    std::string_view name;
    double size;
};

/// A number with one of these units behind it, or without, which is the first of them; none for
/// what is no such number.
std::optional<double> readQuantity(std::string_view text, std::span<const Unit> units);

/// An option for a span of time.
void addSpan(CLI::App& command, const std::string& option, Span& span, const std::string& what);

/// An option for a span of a fixed length, in ms.
void addLength(CLI::App& command, const std::string& option, std::int64_t& ms,
               const std::string& what);

/// An option for a distance, in metres unless its unit is said.
void addDistance(CLI::App& command, const std::string& option, double& metres,
                 const std::string& what);

/// An option whose default is what the value holds.
template <typename Value>
CLI::Option* addValue(CLI::App& command, const std::string& option, Value& value,
                      const std::string& what) {
    return command.add_option(option, value, what)->capture_default_str();
}

/// An option with a word for each value.
template <typename Value>
void addChoice(CLI::App& command, const std::string& option, Value& value,
               const std::map<std::string, Value>& words, const std::string& what) {
    CLI::Option* added = command.add_option_function<std::string>(
        option, [&value, words](const std::string& word) { value = words.at(word); }, what);
    std::vector<std::string> known;
    for (const auto& [word, meaning] : words) {
        known.push_back(word);
        if (meaning == value) {
            added->default_str(word);
        }
    }
    added->check(CLI::IsMember(known));
}

/// Throws Failure(usage) for an option of what was parsed with an empty value, as of a variable
/// that is not set: it would count as not said.
void refuseEmptyValues(const CLI::App& command);

/// Throws Failure(usage) for a file of tracks that is rather the unit of the distance before it.
void refuseUnit(const std::string& file);

/// Whether to write the one would replace the other.
bool isSameFile(const std::string& written, const std::string& other);

} // namespace program

#endif
