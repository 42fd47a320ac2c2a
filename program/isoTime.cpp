#include "program/isoTime.h"

#include "engine/columns/ResultSchema.h"
#include "program/digits.h"

#include "qorvel/base/calendar.h"

#include <algorithm>
#include <cstring>

namespace program {

namespace {

constexpr std::int64_t kMsPerDay = 86400000;

/// As it is written: the month from 1.
struct Date {
    std::int64_t year = 0;
    std::int64_t month = 0;
    std::int64_t day = 0;
};

/// The first day of its month, and of the month after it.
std::int64_t firstDay(const Date& date, int monthsLater) {
    return qorvel_detail::daysFromCivil(date.year, date.month - 1 + monthsLater);
}

/// Whether the calendar has that date.
bool exists(const Date& date) {
    constexpr std::int64_t kInEveryMonth = 28;
    return 1 <= date.month && date.month <= 12 && date.day >= 1 &&
           (date.day <= kInEveryMonth || date.day <= firstDay(date, 1) - firstDay(date, 0));
}

/// Takes a text piece by piece from its front.
class Scanner {
public:
    explicit Scanner(std::string_view text) : rest_(text) {}

    bool isAtEnd() const { return rest_.empty(); }

    bool take(std::string_view word) {
        const bool isThere = rest_.substr(0, word.size()) == word;
        rest_.remove_prefix(isThere ? word.size() : 0);
        return isThere;
    }

    /// One of several characters, or 0.
    char takeOneOf(std::string_view characters) {
        const bool isThere =
            !rest_.empty() && characters.find(rest_.front()) != std::string_view::npos;
        const char taken = isThere ? rest_.front() : '\0';
        rest_.remove_prefix(isThere ? 1 : 0);
        return taken;
    }

    /// Exactly that many digits.
    bool takeNumber(std::size_t digits, std::int64_t& value) {
        value = 0;
        for (std::size_t i = 0; i < digits; ++i) {
            if (i >= rest_.size() || rest_[i] < '0' || rest_[i] > '9') {
                return false;
            }
            value = value * 10 + (rest_[i] - '0');
        }
        rest_.remove_prefix(digits);
        return true;
    }

    /// 1 to 9 digits of a fraction of a second, in whole ms.
    bool takeFraction(std::int64_t& ms) {
        std::int64_t unit = 100;
        std::int64_t digit = 0;
        int digits = 0;
        for (ms = 0; digits < 9 && takeNumber(1, digit); ++digits, unit /= 10) {
            ms += digit * unit;
        }
        return digits > 0;
    }

private:
    std::string_view rest_;
};

bool takeDate(Scanner& text, Date& date) {
    if (!text.takeNumber(4, date.year)) {
        return false;
    }
    const std::string_view between = text.take("/") ? "/" : "-";
    return (between == "/" || text.take(between)) && text.takeNumber(2, date.month) &&
           text.take(between) && text.takeNumber(2, date.day);
}

struct TimeOfDay {
    std::int64_t hour = 0;
    std::int64_t minute = 0;
    std::int64_t second = 0;
    std::int64_t ms = 0;
};

bool takeTimeOfDay(Scanner& text, TimeOfDay& time) {
    if (!text.takeNumber(2, time.hour) || !text.take(":") || !text.takeNumber(2, time.minute)) {
        return false;
    }
    if (!text.take(":")) {
        return true;
    }
    return text.takeNumber(2, time.second) &&
           (text.takeOneOf(".,") == '\0' || text.takeFraction(time.ms));
}

bool takeOffset(Scanner& text, std::int64_t& minutes) {
    text.take(" ");
    if (text.take("UTC") || text.takeOneOf("Zz") != '\0') {
        return true;
    }
    const char sign = text.takeOneOf("+-");
    std::int64_t hour = 0;
    std::int64_t minute = 0;
    if (sign == '\0' || !text.takeNumber(2, hour) ||
        (!text.isAtEnd() && (text.take(":"), !text.takeNumber(2, minute)))) {
        return false;
    }
    minutes = (sign == '-' ? -1 : 1) * (hour * 60 + minute);
    return hour < 24 && minute < 60;
}

const char* faultOf(const Date& date, const TimeOfDay& time) {
    if (!exists(date)) {
        return "is on a day that the calendar does not have";
    }
    if (time.hour > 23) {
        return "has an hour beyond 23 (midnight is 00:00 of the next day)";
    }
    if (time.minute > 59) {
        return "has a minute beyond 59";
    }
    return time.second > 59 ? "has a second beyond 59 (leap seconds have no place in UTC ms)"
                            : nullptr;
}

char* putYear(char* at, std::int64_t year) {
    if (0 <= year && year <= 9999) {
        putPair(at, year / 100);
        putPair(at + 2, year % 100);
        return at + 4;
    }
    const std::string digits = std::to_string(year < 0 ? -year : year);
    *at++ = year < 0 ? '-' : '+';
    at = std::fill_n(at, digits.size() < 4 ? 4 - digits.size() : 0, '0');
    return std::copy(digits.begin(), digits.end(), at);
}

/// A day as text. Times that are written one after another are mostly of the same one.
struct Day {
    std::int64_t daysSince1970 = 0;
    char text[24] = "1970-01-01T";
    std::size_t length = 11;
};

Day dayOf(std::int64_t daysSince1970) {
    const qorvel_detail::CivilDate date = qorvel_detail::civilFromDays(daysSince1970);
    Day day;
    day.daysSince1970 = daysSince1970;
    char* const at = putYear(day.text, date.year);
    at[0] = '-';
    putPair(at + 1, date.month + 1);
    at[3] = '-';
    putPair(at + 4, date.day);
    at[6] = 'T';
    day.length = static_cast<std::size_t>(at + 7 - day.text);
    return day;
}

/// As clocks show it, without what says which clocks.
char* putClock(char* at, std::int64_t time) {
    thread_local constinit Day last;
    const auto [days, msOfDay] = qorvel_detail::floorDivide(time, kMsPerDay);
    if (days != last.daysSince1970) {
        last = dayOf(days);
    }
    std::memcpy(at, last.text, sizeof last.text);
    at += last.length;
    const auto ms = static_cast<std::uint32_t>(msOfDay);
    const std::uint32_t second = ms / 1000;
    putPair(at, second / 3600);
    at[2] = ':';
    putPair(at + 3, second / 60 % 60);
    at[5] = ':';
    putPair(at + 6, second % 60);
    if (ms % 1000 == 0) {
        return at + 8;
    }
    at[8] = '.';
    at[9] = static_cast<char>('0' + ms % 1000 / 100);
    putPair(at + 10, ms % 100);
    return at + 12;
}

/// "+01:00", with seconds only where there are any, as before zones had whole minutes.
char* putOffset(char* at, std::int64_t ms) {
    const std::int64_t seconds = (ms < 0 ? -ms : ms) / 1000;
    at[0] = ms < 0 ? '-' : '+';
    putPair(at + 1, seconds / 3600 % 100);
    at[3] = ':';
    putPair(at + 4, seconds / 60 % 60);
    if (seconds % 60 == 0) {
        return at + 6;
    }
    at[6] = ':';
    putPair(at + 7, seconds % 60);
    return at + 9;
}

} // namespace

char* putTime(char* at, std::int64_t time, const std::optional<qorvel_engine::TimeZone>& zone) {
    if (zone) {
        return putOffset(putClock(at, zone->toLocal(time)), zone->offsetAt(time));
    }
    at = putClock(at, time);
    *at = 'Z';
    return at + 1;
}

char* putBoxEnd(char* at, std::int64_t time, const std::optional<qorvel_engine::TimeZone>& zone) {
    constexpr std::string_view kEver = "ever";
    return qorvel_engine::isEver(time) ? std::copy(kEver.begin(), kEver.end(), at)
                                       : putTime(at, time, zone);
}

void appendTime(std::string& out, std::int64_t time) {
    char text[kMostTime];
    out.append(text, putTime(text, time));
}

void appendBoxEnd(std::string& out, std::int64_t time) {
    char text[kMostTime];
    out.append(text, putBoxEnd(text, time));
}

const char* readIsoTime(std::string_view text, IsoTime& result) {
    constexpr const char* kNoTime = "is no ISO 8601 time";
    Scanner scanner(text);
    Date date;
    TimeOfDay time;
    std::int64_t offset = 0;
    if (!takeDate(scanner, date) || (!scanner.isAtEnd() && (scanner.takeOneOf("Tt ") == '\0' ||
                                                            !takeTimeOfDay(scanner, time)))) {
        return kNoTime;
    }
    result.hasOffset = !scanner.isAtEnd();
    if (result.hasOffset && (!takeOffset(scanner, offset) || !scanner.isAtEnd())) {
        return kNoTime;
    }
    const std::int64_t minutes = time.hour * 60 + time.minute - offset;
    result.time = (firstDay(date, 0) + date.day - 1) * kMsPerDay + minutes * 60000 +
                  time.second * 1000 + time.ms;
    return faultOf(date, time);
}

} // namespace program
