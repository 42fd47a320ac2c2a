#ifndef QORVEL_ENGINE_COLUMNS_TIMEVALUES_H
#define QORVEL_ENGINE_COLUMNS_TIMEVALUES_H

#include "engine/columns/Values.h"

#include <limits>

namespace qorvel_engine {

/// What a column of times counts, since 1970-01-01 00:00 UTC.
enum class TimeUnit : std::uint8_t {
    seconds,
    milliseconds,
    microseconds,
    nanoseconds,
    unsaid ///< whole numbers that say nothing: milliseconds up to the year 5138, see isDoubtful
};

/// A column of times, read in place.
class TimeValues : public Values {
public:
    /// A column that is null in every row.
    TimeValues() noexcept = default;

    /// A value a row from `values[first]` on; `validity` may be null.
    explicit TimeValues(const std::int64_t* values, TimeUnit unit = TimeUnit::milliseconds,
                        const void* validity = nullptr, std::int64_t first = 0) noexcept
        : Values(values, validity, first), unit_(unit) {}

    /// Does the time of a row that is not null have no millisecond in 64 bits?
    bool isOutOfRange(std::int64_t row) const noexcept {
        return unit_ == TimeUnit::seconds && !isWithinSeconds(at<std::int64_t>(row));
    }

    /// Would the time of a row that is not null, of numbers without a unit, lie beyond the year
    /// 5138? Then it is most likely one of today, in microseconds or nanoseconds.
    bool isDoubtful(std::int64_t row) const noexcept {
        return unit_ == TimeUnit::unsaid && at<std::int64_t>(row) >= kYear5138;
    }

    /// Milliseconds since 1970-01-01 00:00 UTC of a row that is not null: the one that the time
    /// lies in, before 1970 too. One that is out of range is the farthest.
    std::int64_t milliseconds(std::int64_t row) const noexcept {
        const auto value = at<std::int64_t>(row);
        switch (unit_) {
        case TimeUnit::seconds:
            return isWithinSeconds(value) ? value * kPerSecond
                   : value < 0            ? Limits::min()
                                          : Limits::max();
        case TimeUnit::microseconds:
            return floorDivided(value, 1000);
        case TimeUnit::nanoseconds:
            return floorDivided(value, 1000000);
        default:
            return value;
        }
    }

private:
    using Limits = std::numeric_limits<std::int64_t>;
    static constexpr std::int64_t kPerSecond = 1000;
    static constexpr std::int64_t kYear5138 = 100'000'000'000'000; ///< ms

    static bool isWithinSeconds(std::int64_t seconds) noexcept {
        return Limits::min() / kPerSecond <= seconds && seconds <= Limits::max() / kPerSecond;
    }
    static std::int64_t floorDivided(std::int64_t value, std::int64_t by) noexcept {
        return value / by - (value % by < 0 ? 1 : 0);
    }

    TimeUnit unit_ = TimeUnit::milliseconds;
};

} // namespace qorvel_engine

#endif
