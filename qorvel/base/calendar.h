#ifndef QORVEL_BASE_CALENDAR_H
#define QORVEL_BASE_CALENDAR_H

#include "qorvel/base/bits.h"

#include <cstdint>

/// The proleptic Gregorian calendar in 64 bits, for every day number and without the C library's
/// calendar (which locks, and fails far from 1970). Days count from 1970-01-01.
///
/// The arithmetic is that of H. Hinnant, "chrono-Compatible Low-Level Date Algorithms"
/// (days_from_civil, civil_from_days): years begin on 1 March, so the leap day ends them, and
/// repeat in eras of 400 years.
namespace qorvel_detail {

struct CivilDate {
    std::int64_t year;
    std::int32_t month; ///< 0 is January
    std::int32_t day;   ///< 1 to 31
};

/// `divisor` is positive. The quotient is rounded down and the remainder never negative.
struct FloorDivision {
    std::int64_t quotient;
    std::int64_t remainder;
};

constexpr FloorDivision floorDivide(std::int64_t value, std::int64_t divisor) {
    const std::int64_t quotient = value / divisor;
    const std::int64_t remainder = value % divisor;
    return remainder < 0 ? FloorDivision{quotient - 1, remainder + divisor}
                         : FloorDivision{quotient, remainder};
}

inline constexpr std::int64_t kEraYears = 400;
inline constexpr std::int64_t kEraDays = 146097;

/// From 0000-03-01, the first day of era 0, to 1970-01-01.
inline constexpr std::int64_t kEpochDay = 719468;

/// The day on which a month begins, in a year that begins in March (month 0).
constexpr std::int64_t firstDayOfMarchMonth(std::int64_t month) {
    return (153 * month + 2) / 5;
}

constexpr CivilDate civilFromDays(std::int64_t days) {
    const FloorDivision era = floorDivide(wrappingAdd(days, kEpochDay), kEraDays);
    const std::int64_t day = era.remainder;
    const std::int64_t year = (day - day / 1460 + day / 36524 - day / 146096) / 365;
    const std::int64_t dayOfYear = day - (365 * year + year / 4 - year / 100);
    const std::int64_t marchMonth = (5 * dayOfYear + 2) / 153;
    const std::int64_t month = marchMonth < 10 ? marchMonth + 2 : marchMonth - 10;
    return {era.quotient * kEraYears + year + (month < 2 ? 1 : 0), static_cast<std::int32_t>(month),
            static_cast<std::int32_t>(dayOfYear - firstDayOfMarchMonth(marchMonth) + 1)};
}

/// The day number of the 1st of a month. `month0` is 0 for January; 12 and above carry into later
/// years, negative ones into earlier years. Beyond the range of 64 bits the result wraps.
constexpr std::int64_t daysFromCivil(std::int64_t year, std::int64_t month0) {
    const FloorDivision carry = floorDivide(month0, 12);
    const std::int64_t civilYear = wrappingAdd(year, carry.quotient);
    const bool beforeMarch = carry.remainder < 2;
    const std::int64_t marchMonth = beforeMarch ? carry.remainder + 10 : carry.remainder - 2;
    const FloorDivision era =
        floorDivide(wrappingSubtract(civilYear, beforeMarch ? 1 : 0), kEraYears);
    const std::int64_t marchYear = era.remainder;
    const std::int64_t day =
        365 * marchYear + marchYear / 4 - marchYear / 100 + firstDayOfMarchMonth(marchMonth);
    return wrappingAdd(wrappingMultiply(era.quotient, kEraDays), day - kEpochDay);
}

} // namespace qorvel_detail

#endif
