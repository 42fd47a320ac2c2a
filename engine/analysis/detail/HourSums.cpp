#include "engine/analysis/detail/HourSums.h"

#include "qorvel/base/bits.h"
#include "qorvel/base/calendar.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>

namespace qorvel_engine::detail {

namespace {

using qorvel_detail::floorDivide;

constexpr std::int64_t kHour = 3'600'000;
constexpr std::int64_t kDay = 24 * kHour;
constexpr std::int64_t kLatest = std::numeric_limits<std::int64_t>::max();

/// How much of each day up to a time of it falls between two hours.
constexpr std::int64_t between(std::int64_t time, std::int64_t from, std::int64_t to) {
    return std::clamp(time, from * kHour, to * kHour) - from * kHour;
}

/// How many of a day of the week, Monday being 0, there were before a day, counted from some one.
std::int64_t weekdaysBefore(std::int64_t day, std::int64_t weekday) {
    constexpr std::int64_t kThursday = 3; // of 1970-01-01
    return floorDivide(day + kThursday + 6 - weekday, 7).quotient;
}

} // namespace

void HourSums::add(std::int64_t from, std::int64_t to, const TimeZone& zone) {
    while (from < to) {
        const std::int64_t end = std::min(to, zone.nextChange(from));
        const std::int64_t local = std::min(zone.toLocal(from), kLatest - (end - from));
        addLocal(local, local + (end - from));
        from = end;
    }
}

void HourSums::add(const HourSums& other) {
    using qorvel_detail::wrappingAdd; // a saved state may say anything
    total = wrappingAdd(total, other.total);
    night = wrappingAdd(night, other.night);
    work = wrappingAdd(work, other.work);
    for (std::size_t day = 0; day < weekdays.size(); ++day) {
        weekdays[day] = wrappingAdd(weekdays[day], other.weekdays[day]);
    }
}

/// Each sum is that up to the one time less that up to the other.
void HourSums::addLocal(std::int64_t from, std::int64_t to) {
    total += to - from;
    for (const auto& [time, sign] : {std::pair(from, -1), std::pair(to, 1)}) {
        const auto [day, clock] = floorDivide(time, kDay);
        night += sign * (day * 8 * kHour + between(clock, 0, 6) + between(clock, 22, 24));
        for (std::int64_t weekday = 0; weekday < 7; ++weekday) {
            const std::int64_t before = weekdaysBefore(day, weekday);
            const bool isToday = weekdaysBefore(day + 1, weekday) > before;
            weekdays[static_cast<std::size_t>(weekday)] +=
                sign * (before * kDay + (isToday ? clock : 0));
            if (weekday < 5) {
                work += sign * (before * 8 * kHour + (isToday ? between(clock, 9, 17) : 0));
            }
        }
    }
}

} // namespace qorvel_engine::detail
