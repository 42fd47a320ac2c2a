#include "tools/setup/Span.h"

#include "tools/setup/numberText.h"

#include "qorvel/model/TimeBoxSpec.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace host {

namespace {

constexpr char kUnitWords[] = "milliseconds, seconds, minutes, hours, days, months, years, ever";

/// Lengths of the units that always have the same one, in ms, by the library's unit codes.
constexpr std::array<std::int64_t, 5> kUnitMillis = {1, 1000, 60000, 3600000, 86400000};
constexpr std::array<const char*, 5> kUnitNames = {"ms", "seconds", "minutes", "hours", "days"};

} // namespace

Span readSpan(const std::string& text) {
    Span span;
    const char* end = text.data() + text.size();
    const auto [unit, error] = std::from_chars(text.data(), end, span.count);
    const bool hasCount = error != std::errc::invalid_argument;
    if (!hasCount) {
        span = {1, text};
    } else if (error != std::errc()) {
        throw std::invalid_argument("the count must be at most 4294967295");
    } else {
        const std::string_view rest(unit, static_cast<std::size_t>(end - unit));
        span.unit = rest.substr(std::min(rest.find_first_not_of(' '), rest.size()));
    }
    const TimeBoxSpec known(span.count, span.unit);
    std::stringstream tags;
    if (!known.isValid(tags) || (!hasCount && known.unit != TimeBoxSpec::kEver)) {
        throw std::invalid_argument(
            std::string("want a count and a unit, as in \"1 hours\"; the units are ") + kUnitWords +
            (tags.str().empty() ? "" : " [" + tags.str() + "]"));
    }
    if (span.count == 0) {
        throw std::invalid_argument("a count of 0 is no length of time");
    }
    return span;
}

std::optional<std::int64_t> fixedLength(const Span& span) {
    const std::uint32_t unit = TimeBoxSpec(span.count, span.unit).unit;
    if (unit >= kUnitMillis.size()) {
        return std::nullopt;
    }
    return span.count * kUnitMillis[unit];
}

std::uint32_t countedLength(const Span& span) {
    return TimeBoxSpec(span.count, span.unit).getDurationMillis();
}

bool wraps(const Span& span) {
    const std::uint32_t unit = TimeBoxSpec(span.count, span.unit).unit;
    if (unit == TimeBoxSpec::kMonths) {
        // One month counts as it is, more may not.
        return std::uint64_t{countedLength({1, span.unit})} * span.count != countedLength(span);
    }
    return unit == TimeBoxSpec::kYears || fixedLength(span).value_or(0) > UINT32_MAX;
}

std::string lengthText(std::int64_t milliseconds) {
    std::size_t unit = kUnitMillis.size() - 1;
    while (unit > 0 && milliseconds < kUnitMillis[unit]) {
        --unit;
    }
    return roundedText(static_cast<double>(milliseconds) / static_cast<double>(kUnitMillis[unit])) +
           ' ' + kUnitNames[unit];
}

} // namespace host
