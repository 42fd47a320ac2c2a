#ifndef QORVEL_ENGINE_SETUP_DETAIL_ZONERULE_H
#define QORVEL_ENGINE_SETUP_DETAIL_ZONERULE_H

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace qorvel_engine::detail {

/// When clocks are changed in every year to come, as the time zone database says it at the end of a
/// file: a TZ text as POSIX has it ("CET-1CEST,M3.5.0,M10.5.0/3"), with the extensions of RFC 8536.
class ZoneRule {
public:
    struct Change {
        std::int64_t at;     ///< s since 1970 UTC
        std::int64_t offset; ///< s ahead of UTC from then on
    };

    /// None for a text that cannot be read.
    static std::optional<ZoneRule> read(std::string_view text);

    /// Are clocks changed at all?
    bool hasChanges() const { return hasChanges_; }

    /// Those of a year from 1 to 9999, in order.
    std::array<Change, 2> changesIn(std::int64_t year) const;

private:
    /// A day of each year, and a time on it.
    struct Moment {
        char kind = 'M'; ///< as in POSIX: 'M', 'J' or '0'
        std::int64_t month = 1;
        std::int64_t week = 1;
        std::int64_t day = 0;
        std::int64_t time = 7200; ///< s after midnight; may be negative or more than a day
    };
    class Reader;

    static std::int64_t secondsOf(const Moment& moment, std::int64_t year);

    bool hasChanges_ = false;
    std::int64_t standard_ = 0; ///< s ahead of UTC
    std::int64_t summer_ = 0;
    Moment begin_; ///< of summer time, by the clocks of standard time
    Moment end_;   ///< by those of summer time
};

} // namespace qorvel_engine::detail

#endif
