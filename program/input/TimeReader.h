#ifndef QORVEL_PROGRAM_INPUT_TIMEREADER_H
#define QORVEL_PROGRAM_INPUT_TIMEREADER_H

#include "program/input/InputOptions.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace program {

/// Reads times: ISO 8601 or plain numbers since 1970, in ms unless told otherwise. A number may
/// have a decimal fraction but no exponent. What is finer than a millisecond is dropped.
class TimeReader {
public:
    /// What had to be assumed about a time.
    enum class Assumption { none, utc, seconds };

    /// @param unit  of plain numbers; byValue: told by the first valid one that is read, and kept.
    ///              Then a number that makes a time beyond the year 5138 counts something finer,
    ///              and is refused
    explicit TimeReader(TimeUnit unit) : unit_(unit), isUnitSaid_(unit != TimeUnit::byValue) {}

    /// From now on, unless the unit is known: a column whose name ends in _ms has ms.
    void heed(std::string_view column);

    /// Returns what is wrong, in words that go on from the name of the time, or null: then `time`
    /// is set. `text` is not empty.
    const char* read(std::string_view text, std::int64_t& time);

    /// About the time that was read last.
    Assumption assumption() const { return assumption_; }

private:
    const char* readPlain(std::string_view text, std::int64_t& time);
    const char* scale(std::string_view fraction, std::int64_t& time) const;
    const char* notANumber(std::string_view text) const;

    TimeUnit unit_;
    bool isUnitSaid_;           ///< by the user
    bool isUnitAssumed_ = true; ///< neither said nor in the column's name
    Assumption assumption_ = Assumption::none;
};

} // namespace program

#endif
