#include "tools/isoTime.h"

#include "tools/csvText.h"

namespace host {

namespace {

constexpr std::int64_t kMsPerDay = 86400000;
constexpr std::int64_t kYear10000 = 253402300800000; // 10000-01-01T00:00:00Z

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

/// With leading zeros up to the width; the value is not negative.
void appendPadded(std::string& out, std::int64_t value, std::size_t width) {
    const std::size_t begin = out.size();
    csv::appendInteger(out, value);
    const std::size_t digits = out.size() - begin;
    if (digits < width) {
        out.insert(begin, width - digits, '0');
    }
}

void appendYear(std::string& out, std::int64_t year) {
    if (year < 0 || year > 9999) {
        out += year < 0 ? '-' : '+';
    }
    appendPadded(out, year < 0 ? -year : year, 4);
}

} // namespace

void appendTime(std::string& out, std::int64_t time) {
    const std::int64_t rest = time % kMsPerDay;
    const std::int64_t msOfDay = rest < 0 ? rest + kMsPerDay : rest;
    const Date date = toDate(time / kMsPerDay - (rest < 0 ? 1 : 0));
    appendYear(out, date.year);
    out += '-';
    appendPadded(out, date.month, 2);
    out += '-';
    appendPadded(out, date.day, 2);
    out += 'T';
    appendPadded(out, msOfDay / 3600000, 2);
    out += ':';
    appendPadded(out, msOfDay / 60000 % 60, 2);
    out += ':';
    appendPadded(out, msOfDay / 1000 % 60, 2);
    if (msOfDay % 1000 != 0) {
        out += '.';
        appendPadded(out, msOfDay % 1000, 3);
    }
    out += 'Z';
}

void appendBoxEnd(std::string& out, std::int64_t time) {
    if (time >= kYear10000) {
        out += "ever";
    } else {
        appendTime(out, time);
    }
}

} // namespace host
