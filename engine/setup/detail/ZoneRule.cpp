#include "engine/setup/detail/ZoneRule.h"

#include "qorvel/base/calendar.h"

#include <algorithm>

namespace qorvel_engine::detail {

namespace {

constexpr std::int64_t kMinute = 60;
constexpr std::int64_t kHour = 3600;
constexpr std::int64_t kDay = 86400;

bool isLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isLeapYear(std::int64_t year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

} // namespace

/// Goes through the text; once it has failed it stays so.
class ZoneRule::Reader {
public:
    explicit Reader(std::string_view text) : rest_(text) {}

    bool hasFailed() const { return hasFailed_; }
    bool isAtEnd() const { return rest_.empty(); }

    bool isAt(char c) const { return !rest_.empty() && rest_.front() == c; }

    bool skip(char c) {
        const bool isThere = isAt(c);
        rest_.remove_prefix(isThere ? 1 : 0);
        return isThere;
    }
    void expect(char c) { hasFailed_ |= !skip(c); }

    /// "CET" or "<+03>".
    void name() {
        const bool isQuoted = skip('<');
        std::size_t size = 0;
        while (size < rest_.size() && (isQuoted ? rest_[size] != '>' : isLetter(rest_[size]))) {
            ++size;
        }
        hasFailed_ |= size == 0;
        rest_.remove_prefix(size);
        if (isQuoted) {
            expect('>');
        }
    }

    std::int64_t number(std::int64_t least, std::int64_t most) {
        std::int64_t value = 0;
        const bool isThere = !rest_.empty() && isDigit(rest_.front());
        while (!rest_.empty() && isDigit(rest_.front()) && value <= most) {
            value = 10 * value + (rest_.front() - '0');
            rest_.remove_prefix(1);
        }
        hasFailed_ |= !isThere || value < least || value > most;
        return value;
    }

    /// As in "-1", "2:30" or "167:59:59", s.
    std::int64_t time() {
        constexpr std::int64_t kMostHours = 167;
        const bool isNegative = skip('-');
        if (!isNegative) {
            skip('+');
        }
        std::int64_t seconds = kHour * number(0, kMostHours);
        if (skip(':')) {
            seconds += kMinute * number(0, 59);
            seconds += skip(':') ? number(0, 59) : 0;
        }
        return isNegative ? -seconds : seconds;
    }

    Moment moment() {
        Moment result;
        expect(',');
        if (skip('M')) {
            result.month = number(1, 12);
            expect('.');
            result.week = number(1, 5);
            expect('.');
            result.day = number(0, 6);
        } else {
            result.kind = skip('J') ? 'J' : '0';
            result.day = result.kind == 'J' ? number(1, 365) : number(0, 365);
        }
        result.time = skip('/') ? time() : result.time;
        return result;
    }

private:
    std::string_view rest_;
    bool hasFailed_ = false;
};

std::optional<ZoneRule> ZoneRule::read(std::string_view text) {
    ZoneRule rule;
    Reader reader(text);
    reader.name();
    rule.standard_ = -reader.time();
    if (!reader.isAtEnd() && !reader.hasFailed()) {
        rule.hasChanges_ = true;
        reader.name();
        rule.summer_ = reader.isAt(',') ? rule.standard_ + kHour : -reader.time();
        rule.begin_ = reader.moment();
        rule.end_ = reader.moment();
    }
    return reader.hasFailed() || !reader.isAtEnd() ? std::nullopt : std::optional(rule);
}

std::array<ZoneRule::Change, 2> ZoneRule::changesIn(std::int64_t year) const {
    std::array<Change, 2> changes = {Change{secondsOf(begin_, year) - standard_, summer_},
                                     Change{secondsOf(end_, year) - summer_, standard_}};
    if (changes[1].at < changes[0].at) {
        std::swap(changes[0], changes[1]);
    }
    return changes;
}

/// Since 1970, as the clocks show it.
std::int64_t ZoneRule::secondsOf(const Moment& moment, std::int64_t year) {
    constexpr std::int64_t kMarchFirst = 60; // counted from 1, in a year without a leap day
    const std::int64_t newYear = qorvel_detail::daysFromCivil(year, 0);
    std::int64_t day = newYear + moment.day;
    if (moment.kind == 'J') {
        day += (isLeapYear(year) && moment.day >= kMarchFirst ? 1 : 0) - 1;
    } else if (moment.kind == 'M') {
        constexpr std::int64_t kThursday = 4; // of 1970-01-01, Sunday being 0
        const std::int64_t first = qorvel_detail::daysFromCivil(year, moment.month - 1);
        const std::int64_t next = qorvel_detail::daysFromCivil(year, moment.month);
        const std::int64_t weekday = qorvel_detail::floorDivide(first + kThursday, 7).remainder;
        day = first + (moment.day - weekday + 7) % 7 + 7 * (moment.week - 1);
        day -= day >= next ? 7 : 0;
    }
    return day * kDay + moment.time;
}

} // namespace qorvel_engine::detail
