#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_HOURSUMS_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_HOURSUMS_H

#include "engine/setup/TimeZone.h"

#include <array>
#include <cstdint>

namespace qorvel_engine::detail {

/// Some time, and how much of it fell into which hours of local days, ms.
struct HourSums {
    std::int64_t total = 0;
    std::int64_t night = 0;                 ///< 22 to 6 o'clock
    std::int64_t work = 0;                  ///< 9 to 17 o'clock, Monday to Friday
    std::array<std::int64_t, 7> weekdays{}; ///< midnight to midnight, Monday first

    /// Adds the time from one moment to a later one, ms since 1970 UTC. It costs the same however
    /// long that is, but for changes of the clocks in it.
    void add(std::int64_t from, std::int64_t to, const TimeZone& zone);

    void add(const HourSums& other);

private:
    void addLocal(std::int64_t from, std::int64_t to);
};

} // namespace qorvel_engine::detail

#endif
