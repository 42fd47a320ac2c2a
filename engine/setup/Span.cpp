#include "engine/setup/Span.h"

#include "engine/setup/numberText.h"

#include "qorvel/base/timeUnits.h"
#include "qorvel/model/TimeBoxSpec.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace qorvel_engine {

namespace {

using qorvel_detail::kFixedUnitMillis;
using qorvel_detail::kUnitWords;

std::string unitWords() {
    std::string words;
    for (const std::string_view word : kUnitWords) {
        words += words.empty() ? "" : ", ";
        words += word;
    }
    return words;
}

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
            std::string("want a count and a unit, as in \"1 hours\"; the units are ") +
            unitWords() + (tags.str().empty() ? "" : " [" + tags.str() + "]"));
    }
    if (span.count == 0) {
        throw std::invalid_argument("a count of 0 is no length of time");
    }
    return span;
}

std::optional<std::int64_t> fixedLength(const Span& span) {
    const std::uint32_t unit = TimeBoxSpec(span.count, span.unit).unit;
    if (unit >= kFixedUnitMillis.size()) {
        return std::nullopt;
    }
    return std::int64_t{span.count} * kFixedUnitMillis[unit];
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
    std::size_t unit = kFixedUnitMillis.size() - 1;
    while (unit > 0 && milliseconds < kFixedUnitMillis[unit]) {
        --unit;
    }
    return roundedText(static_cast<double>(milliseconds) /
                       static_cast<double>(kFixedUnitMillis[unit])) +
           ' ' + (unit == 0 ? "ms" : std::string(kUnitWords[unit]));
}

} // namespace qorvel_engine
