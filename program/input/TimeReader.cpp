#include "program/input/TimeReader.h"

#include "program/input/number.h"
#include "program/isoTime.h"

#include <algorithm>
#include <limits>

namespace program {

namespace {

/// As seconds the year 5138, as ms March 1973: no track is of either.
constexpr std::int64_t kLeastMs = 100000000000;
/// In ms the year 5138, in microseconds March 1973.
constexpr std::int64_t kLeastMicroseconds = 100000000000000;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isDate(std::string_view text) {
    return text.size() > 4 && text[4] == '-' && isDigit(text[0]);
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
    if (unit_ == TimeUnit::byValue && column.ends_with("_ms")) {
        unit_ = TimeUnit::milliseconds;
        isUnitAssumed_ = false;
    }
}

const char* TimeReader::read(std::string_view text, std::int64_t& time) {
    if (!isDate(text)) {
        return readPlain(text, time);
    }
    IsoTime read;
    const char* fault = readIsoTime(text, read);
    if (fault == nullptr && read.time < 0) {
        fault = "is before 1970";
    }
    time = read.time;
    assumption_ = read.hasOffset ? Assumption::none : Assumption::utc;
    return fault;
}

const char* TimeReader::readPlain(std::string_view text, std::int64_t& time) {
    const std::size_t point = std::min(text.find('.'), text.size());
    const std::string_view fraction = text.substr(std::min(point + 1, text.size()));
    if (!readNumber(text.substr(0, point), time) ||
        !std::all_of(fraction.begin(), fraction.end(), isDigit)) {
        return notANumber(text);
    }
    if (time < 0 || (text.front() == '-' && !fraction.empty())) {
        return "is negative";
    }
    if (unit_ == TimeUnit::byValue) {
        unit_ = time < kLeastMs ? TimeUnit::seconds : TimeUnit::milliseconds;
    }
    const bool isAssumed = isUnitAssumed_ && !isUnitSaid_;
    assumption_ = isAssumed && unit_ == TimeUnit::seconds ? Assumption::seconds : Assumption::none;
    const char* fault = scale(fraction, time);
    if (fault == nullptr && !isUnitSaid_ && time >= kLeastMicroseconds) {
        fault = "is beyond the year 5138; say with --time-unit what it counts (s, ms, us or ns)";
    }
    return fault;
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
