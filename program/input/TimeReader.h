#ifndef QORVEL_PROGRAM_INPUT_TIMEREADER_H
#define QORVEL_PROGRAM_INPUT_TIMEREADER_H

#include "program/input/Assumed.h"
#include "program/input/InputOptions.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace program {

/// Reads times: ISO 8601 or plain numbers since 1970, in ms unless told otherwise. A number may
/// have a decimal fraction but no exponent. What is finer than a millisecond is dropped.
class TimeReader {
public:
    /// @param unit  of plain numbers; byValue: told by the first valid one that is read, and kept:
    ///              below 10^11 it is in seconds, 10^14 ms, 10^17 microseconds, else nanoseconds,
    ///              none of which is before 1973 or beyond 5138 in another. A number that is, by
    ///              what was told, counts something else, and is refused
    /// @param zone  of times without an offset; none: UTC is assumed
    TimeReader(TimeUnit unit, std::optional<qorvel_engine::TimeZone> zone)
        : unit_(unit), zone_(std::move(zone)), isUnitSaid_(unit != TimeUnit::byValue) {}

    /// From now on, unless the unit is said: a column whose name ends in _ms, _us or _ns, or in Ms
    /// and so on, has that.
    void heed(std::string_view column);

    /// Of plain numbers by now; byValue as long as nothing has told it.
    TimeUnit unit() const { return unit_; }
    /// As if that had been told by now.
    void setUnit(TimeUnit unit) { unit_ = unit; }

    /// Returns what is wrong, in words that go on from the name of the time, or null: then `time`
    /// is set. `text` is not empty.
    const char* read(std::string_view text, std::int64_t& time);

    /// About the time that was read last.
    const Assumed& assumed() const { return assumed_; }

private:
    const char* readPlain(std::string_view text, std::int64_t& time);
    void note();
    const char* scale(std::string_view fraction, std::int64_t& time) const;
    const char* notANumber(std::string_view text) const;

    TimeUnit unit_;
    std::optional<qorvel_engine::TimeZone> zone_;
    bool isUnitSaid_;           ///< by the user
    bool isUnitAssumed_ = true; ///< neither said nor in the column's name
    Assumed assumed_;
};

} // namespace program

#endif
