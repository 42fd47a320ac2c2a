#ifndef QORVEL_EXAMPLES_SUPPORT_H
#define QORVEL_EXAMPLES_SUPPORT_H

#include "qorvel/qorvel.h"

#include <cstdint>
#include <sstream>
#include <string>

/// What the examples share: their day, their fixes, and a way to end when a call fails.

/// 2021-03-17 12:00 UTC, ms.
constexpr std::int64_t kNoon = 1615982400000;
constexpr std::int64_t kMinute = 60000;

/// A row of a track.
struct Fix {
    const char* who;
    double latitude;
    double longitude;
    /// Metres.
    double tolerance;
    /// Minutes after noon.
    std::int64_t minute;
};

/// Ends the program with the sentences of `errors` unless `code` is 0.
void expectSuccess(int code, const std::stringstream& errors);

/// The event of a fix, of the kind "phone"; the entity is a "person".
Event eventOf(const Fix& fix);

/// The time of day, as 12:05.
std::string clockOf(std::int64_t time);

/// The geohash of a box.
std::string cellOf(const SpaceBox& box);

#endif
