#include "engine/setup/Span.h"

#include "engine/setup/numberText.h"

#include "qorvel/base/timeUnits.h"
#include "qorvel/model/TimeBoxSpec.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <iterator>
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

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return lower;
}

/// What people write for the library's words. There is no "m": it may be minutes or months.
struct OtherWord {
    std::string_view word;
    std::string_view unit;
    std::uint32_t count = 1;
};
constexpr OtherWord kOtherWords[] = {{"ms", "milliseconds"}, {"millisecond", "milliseconds"},
                                     {"s", "seconds"},       {"sec", "seconds"},
                                     {"secs", "seconds"},    {"second", "seconds"},
                                     {"min", "minutes"},     {"mins", "minutes"},
                                     {"minute", "minutes"},  {"h", "hours"},
                                     {"hr", "hours"},        {"hrs", "hours"},
                                     {"hour", "hours"},      {"d", "days"},
                                     {"day", "days"},        {"w", "days", 7},
                                     {"week", "days", 7},    {"weeks", "days", 7},
                                     {"month", "months"},    {"y", "years"},
                                     {"year", "years"}};

constexpr std::uint64_t kMostCount = UINT32_MAX;

void useLibraryWord(Span& span) {
    const std::string word = lowerCase(span.unit);
    const auto* const other =
        std::find_if(std::begin(kOtherWords), std::end(kOtherWords),
                     [&word](const OtherWord& candidate) { return candidate.word == word; });
    if (other != std::end(kOtherWords)) {
        if (std::uint64_t{span.count} * other->count > kMostCount) {
            throw std::invalid_argument("the count is too large");
        }
        span = {span.count * other->count, std::string(other->unit)};
    }
}

/// The largest unit that leaves no rest.
std::optional<Span> spanOf(std::uint64_t ms) {
    std::size_t unit = kFixedUnitMillis.size() - 1;
    while (ms % kFixedUnitMillis[unit] != 0) {
        --unit;
    }
    const std::uint64_t count = ms / kFixedUnitMillis[unit];
    return count > kMostCount ? std::nullopt
                              : std::optional(Span{static_cast<std::uint32_t>(count),
                                                   std::string(kUnitWords[unit])});
}

/// A duration as ISO 8601 writes it, of whole numbers: "P1D", "PT1H30M"; months and years by
/// themselves only. None for any other text.
std::optional<Span> readDuration(std::string_view text) {
    struct Part {
        char letter;
        std::string_view unit;
        std::uint32_t ms; ///< 0: not always as long
    };
    static constexpr Part kOfDate[] = {
        {'Y', "years", 0}, {'M', "months", 0}, {'W', "weeks", 604800000}, {'D', "days", 86400000}};
    static constexpr Part kOfTime[] = {
        {'H', "hours", 3600000}, {'M', "minutes", 60000}, {'S', "seconds", 1000}};
    std::uint64_t ms = 0;
    std::optional<Span> calendar;
    const Part* next = std::begin(kOfDate); // each at most once, in this order
    const Part* last = std::end(kOfDate);
    int parts = 0;
    for (std::size_t at = 1; at < text.size(); ++at, ++parts) {
        if (text[at] == 'T' && last == std::end(kOfDate)) {
            next = std::begin(kOfTime);
            last = std::end(kOfTime);
            ++at;
        }
        std::uint32_t count = 0;
        const char* const end = text.data() + text.size();
        const auto [letter, error] = std::from_chars(text.data() + at, end, count);
        next =
            letter == end ? last : std::find_if(next, last, [letter = *letter](const Part& part) {
                return part.letter == letter;
            });
        if (error != std::errc() || next == last) {
            return std::nullopt;
        }
        ms += std::uint64_t{count} * next->ms;
        if (next->ms == 0) {
            calendar = Span{count, std::string(next->unit)};
        }
        at = static_cast<std::size_t>(letter - text.data());
        ++next;
    }
    if (calendar || parts == 0) {
        return parts == 1 ? calendar : std::nullopt;
    }
    return spanOf(ms);
}

} // namespace

Span readSpan(const std::string& text) {
    if (!text.empty() && text.front() == 'P') {
        if (const std::optional<Span> span = readDuration(text); span && span->count > 0) {
            return *span;
        }
    }
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
        if (span.unit.empty()) {
            throw std::invalid_argument(
                "a count without its unit; the two are one value, in quotes or without a space "
                "between them, as in \"15 minutes\" or 15min");
        }
        useLibraryWord(span);
    }
    const TimeBoxSpec known(span.count, span.unit);
    std::stringstream tags;
    if (!known.isValid(tags) || (!hasCount && known.unit != TimeBoxSpec::kEver)) {
        throw std::invalid_argument(
            std::string(
                "want a count and a unit, as in \"15 minutes\", 15min or PT15M; the units are ") +
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
