#ifndef QORVEL_TESTING_SUPPORT_WANTEDEVENTS_H
#define QORVEL_TESTING_SUPPORT_WANTEDEVENTS_H

#include <cstdint>
#include <cstdlib>

/// A number from the environment.
inline std::uint64_t setting(const char* name, std::uint64_t otherwise) {
    const char* const text = std::getenv(name);
    return text == nullptr ? otherwise : std::strtoull(text, nullptr, 10);
}

/// How many events a test beside a model draws at least: QORVEL_EVENTS, which makes it long or
/// short.
inline std::uint64_t wantedEvents(std::uint64_t usual) {
    return setting("QORVEL_EVENTS", usual);
}

#endif
