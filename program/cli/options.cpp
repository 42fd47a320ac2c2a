#include "program/cli/options.h"

#include "program/output/PartialFile.h"
#include "program/output/TextFile.h"

#include <optional>
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

bool isSameFile(const std::string& written, const std::string& other) {
    return !written.empty() && (written == other || (!isWrittenDirectly(written) &&
                                                     targetOf(written) == targetOf(other)));
}

} // namespace program
