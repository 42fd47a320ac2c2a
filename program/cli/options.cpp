#include "program/cli/options.h"

#include "program/input/number.h"
#include "program/output/PartialFile.h"
#include "program/output/TextFile.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace program {

namespace {

Span readSpanOption(const std::string& option, const std::string& text) {
    try {
        return readSpan(text);
    } catch (const std::invalid_argument& error) {
        throw usageFailure(option, text, error.what());
    }
}

constexpr Unit kUnitsOfDistance[] = {
    {"m", 1.0}, {"metres", 1.0}, {"meters", 1.0}, {"km", 1000.0}, {"ft", 0.3048}};

double readDistance(const std::string& option, const std::string& text) {
    const std::optional<double> metres = readQuantity(text, kUnitsOfDistance);
    if (!metres) {
        throw usageFailure(option, text, "want metres, as in 200, \"200 m\" or \"1.5 km\"");
    }
    return *metres;
}

/// As in "90 seconds", in the largest unit that leaves no rest.
std::string lengthText(std::int64_t ms) {
    constexpr std::pair<std::int64_t, const char*> kUnits[] = {
        {86'400'000, "days"}, {3'600'000, "hours"}, {60'000, "minutes"}, {1000, "seconds"}};
    for (const auto& [length, unit] : kUnits) {
        if (ms % length == 0 && ms > 0) {
            return std::to_string(ms / length) + ' ' + unit;
        }
    }
    return std::to_string(ms) + " milliseconds";
}

} // namespace

Failure usageFailure(const std::string& what) {
    return {ExitCode::usage, what};
}

Failure usageFailure(const std::string& option, const std::string& text, const std::string& what) {
    return usageFailure(option + " \"" + text + "\": " + what);
}

std::int64_t readLength(const std::string& option, const std::string& text, const char* otherwise) {
    const std::optional<std::int64_t> length = fixedLength(readSpanOption(option, text));
    if (!length) {
        throw usageFailure(option, text, otherwise);
    }
    return *length;
}

std::optional<double> readQuantity(std::string_view text, std::span<const Unit> units) {
    Unit unit{"", units.front().size};
    for (const Unit& one : units) {
        if (text.ends_with(one.name) && one.name.size() > unit.name.size()) { // "km" is no "m"
            unit = one;
        }
    }
    double number = 0.0;
    text.remove_suffix(unit.name.size());
    return readNumber(plainNumber(text), number) ? std::optional(number * unit.size) : std::nullopt;
}

void addSpan(CLI::App& command, const std::string& option, Span& span, const std::string& what) {
    command
        .add_option_function<std::string>(
            option,
            [&span, option](const std::string& text) { span = readSpanOption(option, text); }, what)
        ->default_str(span.text());
}

void addLength(CLI::App& command, const std::string& option, std::int64_t& ms,
               const std::string& what) {
    command
        .add_option_function<std::string>(
            option, [&ms, option](const std::string& text) { ms = readLength(option, text); }, what)
        ->default_str(lengthText(ms));
}

void addDistance(CLI::App& command, const std::string& option, double& metres,
                 const std::string& what) {
    std::ostringstream otherwise;
    otherwise << metres << " m";
    command
        .add_option_function<std::string>(
            option,
            [&metres, option](const std::string& text) { metres = readDistance(option, text); },
            what)
        ->default_str(otherwise.str());
}

void refuseEmptyValues(const CLI::App& command) {
    for (const CLI::Option* option : command.get_options()) {
        const auto& values = option->results();
        if (option->nonpositional() &&
            std::find(values.begin(), values.end(), "") != values.end()) {
            throw usageFailure(option->get_name() + " has an empty value: leave it out, or say "
                                                    "what is meant");
        }
    }
    for (const CLI::App* inner : command.get_subcommands()) {
        refuseEmptyValues(*inner);
    }
}

void refuseUnit(const std::string& file) {
    const auto isUnit = [&](const Unit& unit) { return file == unit.name; };
    if (std::any_of(std::begin(kUnitsOfDistance), std::end(kUnitsOfDistance), isUnit) &&
        !std::filesystem::exists(file)) {
        throw usageFailure("there is no file \"" + file +
                           "\"; a distance and its unit are one value, in quotes or without a "
                           "space between them, as in \"200 m\" or 200m");
    }
}

bool isSameFile(const std::string& written, const std::string& other) {
    return !written.empty() && (written == other || (!isWrittenDirectly(written) &&
                                                     targetOf(written) == targetOf(other)));
}

} // namespace program
