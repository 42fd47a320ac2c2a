#ifndef QORVEL_ENGINE_SETUP_SPAN_H
#define QORVEL_ENGINE_SETUP_SPAN_H

#include "engine/export.h"

#include <cstdint>
#include <optional>
#include <string>

namespace qorvel_engine {

/// A length of time as the library takes it: a count and one of its unit words.
struct Span {
    std::uint32_t count = 1;
    std::string unit;

    std::string text() const { return std::to_string(count) + ' ' + unit; }
};

/// Reads "30 minutes", "30minutes", what else people write for that ("30 min", "1h", "2 weeks", and
/// of ISO 8601 "PT30M", "P1D"), or just "ever". The span has the library's words. Throws
/// std::invalid_argument with a sentence (and the library's tag), in which the text itself does not
/// stand, for anything else and for a count of 0.
QORVEL_ENGINE_EXPORT Span readSpan(const std::string& text);

/// The length in ms; none for months, years and "ever".
QORVEL_ENGINE_EXPORT std::optional<std::int64_t> fixedLength(const Span& span);

/// Does the library count the span as something shorter than it is? It counts in 32 bits: 50 days
/// are seven hours. `countedLength` is what it counts, ms.
QORVEL_ENGINE_EXPORT bool wraps(const Span& span);
QORVEL_ENGINE_EXPORT std::uint32_t countedLength(const Span& span);

/// A length (at least 0) for people, in its greatest unit: "17.3 days", "15 minutes".
QORVEL_ENGINE_EXPORT std::string lengthText(std::int64_t milliseconds);

} // namespace qorvel_engine

#endif
