#include "program/isoTime.h"

#include "engine/columns/ResultSchema.h"

namespace program {

namespace {

constexpr std::int64_t kMsPerDay = 86400000;

struct Date {
    std::int64_t year;
    std::int64_t month;
    std::int64_t day;
};

/// Howard Hinnant, "chrono-Compatible Low-Level Date Algorithms" (civil_from_days): eras of 400
/// years, years that begin in March.
Date toDate(std::int64_t daysSince1970) {
    const std::int64_t days = daysSince1970 + 719468;
    const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const std::int64_t dayOfEra = days - era * 146097;
    const std::int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t marchMonth = (5 * dayOfYear + 2) / 153;
    const std::int64_t month = marchMonth < 10 ? marchMonth + 3 : marchMonth - 9;
    return {yearOfEra + era * 400 + (month <= 2 ? 1 : 0), month,
            dayOfYear - (153 * marchMonth + 2) / 5 + 1};
}

/// Puts so many digits there, with leading zeros; the value is not negative and has no more.
template <int kDigits>
void put(char* at, std::int64_t value) {
    auto rest = static_cast<std::uint32_t>(value);
    for (int i = kDigits; i-- > 0; rest /= 10) {
        at[i] = static_cast<char>('0' + rest % 10);
    }
}

/// The way back (days_from_civil), by the same source.
std::int64_t toDays(const Date& date) {
    const std::int64_t year = date.month <= 2 ? date.year - 1 : date.year;
    const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
    const std::int64_t yearOfEra = year - era * 400;
    const std::int64_t marchMonth = date.month > 2 ? date.month - 3 : date.month + 9;
    const std::int64_t dayOfYear = (153 * marchMonth + 2) / 5 + date.day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

/// Whether the calendar has that date.
bool exists(const Date& date) {
    if (date.month < 1 || date.month > 12 || date.day < 1 || date.day > 31) {
        return false;
    }
    return toDate(toDays(date)).month == date.month; // else it is a day of the next one
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
            const char digit = takeOneOf("0123456789");
            if (digit == '\0') {
                return false;
            }
            value = value * 10 + (digit - '0');
        }
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

void appendYear(std::string& out, std::int64_t year) {
    if (0 <= year && year <= 9999) {
        char digits[4];
        put<4>(digits, year);
        out.append(digits, sizeof digits);
        return;
    }
    const std::string digits = std::to_string(year < 0 ? -year : year);
    out += year < 0 ? '-' : '+';
    out.append(digits.size() < 4 ? 4 - digits.size() : 0, '0') += digits;
}

/// As clocks show it, without what says which clocks.
void appendClock(std::string& out, std::int64_t time) {
    const std::int64_t rest = time % kMsPerDay;
    const std::int64_t msOfDay = rest < 0 ? rest + kMsPerDay : rest;
    const Date date = toDate(time / kMsPerDay - (rest < 0 ? 1 : 0));
    appendYear(out, date.year);
    char text[] = "-00-00T00:00:00.000";
    put<2>(text + 1, date.month);
    put<2>(text + 4, date.day);
    put<2>(text + 7, msOfDay / 3600000);
    put<2>(text + 10, msOfDay / 60000 % 60);
    put<2>(text + 13, msOfDay / 1000 % 60);
    const std::int64_t ms = msOfDay % 1000;
    if (ms != 0) {
        put<3>(text + 16, ms);
        out.append(text, 19);
    } else {
        out.append(text, 15);
    }
}

/// "+01:00", with seconds only where there are any, as before zones had whole minutes.
void appendOffset(std::string& out, std::int64_t ms) {
    const std::int64_t seconds = (ms < 0 ? -ms : ms) / 1000;
    char text[] = "+00:00:00";
    text[0] = ms < 0 ? '-' : '+';
    put<2>(text + 1, seconds / 3600);
    put<2>(text + 4, seconds / 60 % 60);
    put<2>(text + 7, seconds % 60);
    out.append(text, seconds % 60 != 0 ? 9 : 6);
}

} // namespace

void appendTime(std::string& out, std::int64_t time) {
    appendClock(out, time);
    out += 'Z';
}

void appendTime(std::string& out, std::int64_t time,
                const std::optional<qorvel_engine::TimeZone>& zone) {
    if (!zone) {
        appendTime(out, time);
        return;
    }
    appendClock(out, zone->toLocal(time));
    appendOffset(out, zone->offsetAt(time));
}

void appendBoxEnd(std::string& out, std::int64_t time,
                  const std::optional<qorvel_engine::TimeZone>& zone) {
    if (qorvel_engine::isEver(time)) {
        out += "ever";
    } else {
        appendTime(out, time, zone);
    }
}

const char* readIsoTime(std::string_view text, IsoTime& result) {
    constexpr const char* kNoTime = "is no ISO 8601 time";
    Scanner scanner(text);
    Date date{};
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
    result.time = toDays(date) * kMsPerDay + minutes * 60000 + time.second * 1000 + time.ms;
    return faultOf(date, time);
}

} // namespace program
