#include "program/input/TimeReader.h"

#include "program/input/number.h"
#include "program/isoTime.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <tuple>

namespace program {

namespace {

/// Up to where the first number has a unit. Each limit is the year 5138 in its own and March 1973
/// in the next: no track is of either.
constexpr std::pair<std::int64_t, TimeUnit> kLimits[] = {
    {100000000000, TimeUnit::seconds},
    {100000000000000, TimeUnit::milliseconds},
    {100000000000000000, TimeUnit::microseconds},
    {std::numeric_limits<std::int64_t>::max(), TimeUnit::nanoseconds}};

constexpr std::int64_t kMarch1973 = 100000000000; ///< ms
constexpr std::int64_t kYear5138 = 100000000000000;

TimeUnit unitOf(std::int64_t first) {
    const auto* limit = std::find_if(std::begin(kLimits), std::end(kLimits) - 1,
                                     [first](const auto& entry) { return first < entry.first; });
    return limit->second;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isDate(std::string_view text) {
    return text.size() > 4 && (text[4] == '-' || text[4] == '/') && isDigit(text[0]);
}

/// Of the digits behind the point.
std::int64_t wholeMs(std::string_view fraction) {
    std::int64_t ms = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        ms = ms * 10 + (i < fraction.size() ? fraction[i] - '0' : 0);
    }
    return ms;
}

} // namespace

void TimeReader::heed(std::string_view column) {
    if (isUnitSaid_) {
        return;
    }
    constexpr std::tuple<const char*, const char*, TimeUnit> kEndings[] = {
        {"_ms", "Ms", TimeUnit::milliseconds},
        {"_us", "Us", TimeUnit::microseconds},
        {"_ns", "Ns", TimeUnit::nanoseconds}};
    for (const auto& [word, hump, unit] : kEndings) {
        if (column.ends_with(word) || column.ends_with(hump)) {
            unit_ = unit;
            isUnitAssumed_ = false;
        }
    }
}

const char* TimeReader::read(std::string_view text, std::int64_t& time) {
    assumed_ = {};
    if (!isDate(text)) {
        return readPlain(text, time);
    }
    IsoTime read;
    const char* fault = readIsoTime(text, read);
    if (fault == nullptr && !read.hasOffset && zone_) {
        read.time = zone_->toUtc(read.time);
    }
    if (fault == nullptr && read.time < 0) {
        fault = "is before 1970";
    }
    time = read.time;
    assumed_.utc = read.hasOffset || zone_ ? 0 : 1;
    return fault;
}

const char* TimeReader::readPlain(std::string_view text, std::int64_t& time) {
    std::string_view fraction;
    if (!readShortNumber(text, time)) {
        const std::size_t point = std::min(text.find('.'), text.size());
        fraction = text.substr(std::min(point + 1, text.size()));
        if (!readNumber(text.substr(0, point), time) ||
            !std::all_of(fraction.begin(), fraction.end(), isDigit)) {
            return notANumber(text);
        }
    }
    if (time < 0 || (text.front() == '-' && !fraction.empty())) {
        return "is negative";
    }
    if (unit_ == TimeUnit::byValue) {
        unit_ = unitOf(time);
    }
    note();
    const char* fault = scale(fraction, time);
    if (fault == nullptr && !isUnitSaid_ && time >= kYear5138) {
        fault = "is beyond the year 5138; say with --time-unit what it counts (s, ms, us or ns)";
    }
    const bool isTold = isUnitSaid_ || !isUnitAssumed_; // not by the first number
    if (fault == nullptr && !isTold && unit_ != TimeUnit::seconds && time < kMarch1973) {
        fault =
            "is before March 1973 in the unit of the first; say with --time-unit what it counts "
            "(s, ms, us or ns)";
    }
    return fault;
}

void TimeReader::note() {
    const std::uint64_t one = isUnitAssumed_ && !isUnitSaid_ ? 1 : 0;
    assumed_.seconds = unit_ == TimeUnit::seconds ? one : 0;
    assumed_.microseconds = unit_ == TimeUnit::microseconds ? one : 0;
    assumed_.nanoseconds = unit_ == TimeUnit::nanoseconds ? one : 0;
}

/// From the unit to ms.
const char* TimeReader::scale(std::string_view fraction, std::int64_t& time) const {
    switch (unit_) {
    case TimeUnit::seconds:
        if (time > std::numeric_limits<std::int64_t>::max() / 1000 - 1) {
            return "is out of range";
        }
        time = time * 1000 + wholeMs(fraction);
        break;
    case TimeUnit::microseconds:
        time /= 1000;
        break;
    case TimeUnit::nanoseconds:
        time /= 1000000;
        break;
    case TimeUnit::milliseconds:
    case TimeUnit::byValue:
        break;
    }
    return nullptr;
}

const char* TimeReader::notANumber(std::string_view text) const {
    if (!isDigit(text.front()) && text.front() != '-') {
        return "is neither a number nor an ISO 8601 time";
    }
    return unit_ == TimeUnit::seconds ? "is no number of seconds" : "is no whole number of 64 bits";
}

} // namespace program
