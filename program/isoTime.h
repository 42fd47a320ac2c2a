#ifndef QORVEL_PROGRAM_ISOTIME_H
#define QORVEL_PROGRAM_ISOTIME_H

#include "engine/setup/TimeZone.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace program {

/// Room for a time as text.
inline constexpr std::size_t kMostTime = 48;

/// Puts a time stamp (ms since 1970) as ISO 8601 in UTC: "2012-12-18T11:53:30Z", with milliseconds
/// only where there are any: "2012-12-18T11:53:30.250Z". Proleptic Gregorian calendar for every
/// time stamp; years outside 0000 to 9999 have a sign and all their digits
/// ("+292278994-08-17T07:12:55.807Z").
///
/// @param zone  the time as its clocks show it, with their offset: "2012-12-18T12:53:30+01:00"
/// @return      where the text ends; all the room may have been written to
char* putTime(char* at, std::int64_t time,
              const std::optional<qorvel_engine::TimeZone>& zone = std::nullopt);

/// The same for the end of a time box, but ends beyond the year 9999 are "ever".
char* putBoxEnd(char* at, std::int64_t time,
                const std::optional<qorvel_engine::TimeZone>& zone = std::nullopt);

void appendTime(std::string& out, std::int64_t time);

void appendBoxEnd(std::string& out, std::int64_t time);

/// A time as it was read.
struct IsoTime {
    std::int64_t time = 0;  ///< ms since 1970, negative before
    bool hasOffset = false; ///< else it was taken as UTC
};

/// Reads a time of ISO 8601 in years 0000 to 9999: "2012-12-18T11:58:00.250+01:00". A blank may
/// stand for the T, "2012/12/18" for the date and before the offset; the offset is Z, UTC, +01:00,
/// +0100 or +01, and may be missing, as may the fraction (1 to 9 digits; what is finer than a
/// millisecond is dropped), the seconds, or all behind the date (midnight). Returns null, or what
/// is wrong, in words that go on from the name of the time.
const char* readIsoTime(std::string_view text, IsoTime& result);

} // namespace program

#endif
