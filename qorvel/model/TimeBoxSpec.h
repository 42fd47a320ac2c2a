#ifndef QORVEL_MODEL_TIMEBOXSPEC_H
#define QORVEL_MODEL_TIMEBOXSPEC_H

#include "qorvel/config.h"

#include <cstdint>
#include <sstream>
#include <string>

QORVEL_BEGIN_NAMESPACE

/// How long a time box is: a count of units. All time stamps are milliseconds since 1970-01-01
/// 00:00:00 UTC; months and years are those of the proleptic Gregorian calendar in UTC.
class QORVEL_EXPORT TimeBoxSpec {
public:
    /// The unit codes, in the order of their words. A code above kInvalid behaves as kInvalid.
    enum Unit : std::uint32_t {
        kMilliseconds = 0,
        kSeconds = 1,
        kMinutes = 2,
        kHours = 3,
        kDays = 4,
        kMonths = 5,
        kYears = 6,
        kEver = 7,
        kInvalid = 8
    };

    /// One box for all time: count 1, unit kEver.
    TimeBoxSpec();

    /// @param unitWord  "milliseconds", "seconds", "minutes", "hours", "days", "months", "years" or
    ///                  "ever", in any mix of ASCII capitals and small letters. Any other word (a
    ///                  singular, blanks around it) gives kInvalid, which isValid reports.
    TimeBoxSpec(std::uint32_t count, const std::string& unitWord);

    TimeBoxSpec(const TimeBoxSpec&) = default;
    TimeBoxSpec& operator=(const TimeBoxSpec&) = default;
    virtual ~TimeBoxSpec();

    /// False, with "ERROR_TIMEBOXSPEC_1," appended to `errors`, exactly when the unit is kInvalid.
    /// A count of 0 passes.
    bool isValid(std::stringstream& errors) const;

    /// Nominal length of one box in milliseconds (a month is 30 days, a year 365.25 days), formed
    /// in unsigned 32-bit arithmetic, as the windows are that it is compared with. Lengths from
    /// 2^32 ms (49.7 days) on wrap: 50 days give 25032704, one year gives 1492828928. "ever" gives
    /// 4294967295, kInvalid 0.
    std::uint32_t getDurationMillis() const;

    /// First millisecond of the box that is taken to hold `time`.
    ///
    /// - Fixed units cut time into multiples of their (wrapping) length. The division truncates
    ///   toward zero, so a negative time that is no multiple lands in the box above it.
    /// - Months restart each January: 5 months cut a year at January, June and November, and the
    ///   last box reaches into the next year.
    /// - Years are grouped in multiples of the count from 1900 on.
    /// - "ever" is [0, 9223372036854775807).
    /// - kInvalid, a count of 0 (of any unit but "ever") and a fixed length that wraps to 0 give 0
    ///   for start and end.
    ///
    /// Defined for every time stamp; results beyond 64 bits wrap.
    std::int64_t getTimeBoxStart(std::int64_t time) const;
    /// First millisecond after that box.
    std::int64_t getTimeBoxEnd(std::int64_t time) const;

    /// How many units a box spans.
    std::uint32_t count;
    /// A Unit code.
    std::uint32_t unit;
};

QORVEL_END_NAMESPACE

#endif
