#include "program/input/Assumed.h"

namespace program {

Assumed& Assumed::operator+=(const Assumed& other) {
    utc += other.utc;
    seconds += other.seconds;
    microseconds += other.microseconds;
    nanoseconds += other.nanoseconds;
    withoutFormat += other.withoutFormat;
    linkedFolders += other.linkedFolders;
    return *this;
}

std::vector<std::string> Assumed::remarks() const {
    std::vector<std::string> sentences;
    const auto tell = [&sentences](std::uint64_t count, const std::string& one,
                                   const std::string& many) {
        if (count > 0) {
            sentences.push_back(std::to_string(count) + (count == 1 ? one : many));
        }
    };
    tell(utc, " time has no offset and was read as UTC (--time-zone names another zone)",
         " times have no offset and were read as UTC (--time-zone names another zone)");
    for (const auto& [count, unit] : {std::pair(seconds, "seconds"),
                                      {microseconds, "microseconds"},
                                      {nanoseconds, "nanoseconds"}}) {
        tell(count, std::string(" time is a plain number and was read as ") + unit,
             std::string(" times are plain numbers and were read as ") + unit);
    }
    tell(withoutFormat, " file in a folder was not read, as its name does not tell its format",
         " files in folders were not read, as their names do not tell their formats");
    tell(linkedFolders, " link to a folder was not followed",
         " links to folders were not followed");
    return sentences;
}

} // namespace program
