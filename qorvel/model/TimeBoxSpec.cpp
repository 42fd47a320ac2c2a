#include "qorvel/model/TimeBoxSpec.h"

#include "qorvel/base/bits.h"
#include "qorvel/base/calendar.h"
#include "qorvel/base/timeUnits.h"
#include "qorvel/model/detail/check.h"

#include <algorithm>

QORVEL_BEGIN_NAMESPACE

namespace {

using qorvel_detail::kFixedUnitMillis;
using qorvel_detail::kUnitWords;

constexpr std::uint32_t kDayMillis = 86400000;
constexpr std::uint32_t kNominalMonthMillis = 2592000000; // 30 days
constexpr double kNominalYearDays = 365.25;
constexpr std::uint32_t kEverMillis = UINT32_MAX;
constexpr std::int64_t kEndOfTime = INT64_MAX;

constexpr std::int64_t kSecondMillis = 1000;
constexpr std::int64_t kDaySeconds = 86400;
constexpr std::int64_t kFirstCalendarYear = 1900; // year boxes are counted from here

char toLowerAscii(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::uint32_t unitOf(std::string word) {
    std::transform(word.begin(), word.end(), word.begin(), toLowerAscii);
    const auto found = std::find(kUnitWords.begin(), kUnitWords.end(), word);
    return static_cast<std::uint32_t>(found - kUnitWords.begin());
}

bool isFixed(std::uint32_t unit) {
    return unit < kFixedUnitMillis.size();
}

/// Length of a box of a fixed unit. Wraps modulo 2^32 as the windows do that it is compared with;
/// the boxes themselves must agree with that.
std::uint32_t fixedLength(std::uint32_t count, std::uint32_t unit) {
    return count * kFixedUnitMillis[unit];
}

enum class Side { start, end };

/// Index of the first unit of the box that holds unit `index`, or of the first unit after it.
/// Formed in unsigned arithmetic and read as a signed field, so that years before 1900 and large
/// counts have a defined box.
std::int32_t groupIndex(std::uint32_t index, std::uint32_t count, Side side) {
    const std::uint32_t group = index / count + (side == Side::end ? 1 : 0);
    return static_cast<std::int32_t>(count * group);
}

qorvel_detail::CivilDate civilDate(std::int64_t time) {
    const std::int64_t seconds =
        time / kSecondMillis; // truncates also below zero, as fixed units do
    return qorvel_detail::civilFromDays(qorvel_detail::floorDivide(seconds, kDaySeconds).quotient);
}

std::int64_t firstOfMonth(std::int64_t year, std::int64_t month) {
    const std::int64_t seconds = qorvel_detail::daysFromCivil(year, month) * kDaySeconds;
    return qorvel_detail::wrappingMultiply(seconds, kSecondMillis);
}

std::int64_t fixedBoundary(std::int64_t time, std::uint32_t length, Side side) {
    if (length == 0) {
        return 0;
    }
    const std::int64_t box = time / static_cast<std::int64_t>(length);
    return qorvel_detail::wrappingMultiply(
        qorvel_detail::wrappingAdd(box, side == Side::end ? 1 : 0), length);
}

std::int64_t monthBoundary(std::int64_t time, std::uint32_t count, Side side) {
    if (count == 0) {
        return 0;
    }
    const qorvel_detail::CivilDate date = civilDate(time);
    return firstOfMonth(date.year, groupIndex(static_cast<std::uint32_t>(date.month), count, side));
}

std::int64_t yearBoundary(std::int64_t time, std::uint32_t count, Side side) {
    if (count == 0) {
        return 0;
    }
    const std::int64_t index = civilDate(time).year - kFirstCalendarYear;
    return firstOfMonth(
        kFirstCalendarYear + groupIndex(static_cast<std::uint32_t>(index), count, side), 0);
}

std::int64_t boundary(const TimeBoxSpec& spec, std::int64_t time, Side side) {
    if (isFixed(spec.unit)) {
        return fixedBoundary(time, fixedLength(spec.count, spec.unit), side);
    }
    switch (spec.unit) {
    case TimeBoxSpec::kMonths:
        return monthBoundary(time, spec.count, side);
    case TimeBoxSpec::kYears:
        return yearBoundary(time, spec.count, side);
    case TimeBoxSpec::kEver:
        return side == Side::start ? 0 : kEndOfTime;
    default:
        return 0;
    }
}

} // namespace

TimeBoxSpec::TimeBoxSpec() : count(1), unit(kEver) {}

TimeBoxSpec::TimeBoxSpec(std::uint32_t boxCount, const std::string& unitWord)
    : count(boxCount), unit(unitOf(unitWord)) {}

TimeBoxSpec::~TimeBoxSpec() = default;

bool TimeBoxSpec::isValid(std::stringstream& errors) const {
    return qorvel_detail::check(unit != kInvalid, "ERROR_TIMEBOXSPEC_1,", errors);
}

std::uint32_t TimeBoxSpec::getDurationMillis() const {
    if (isFixed(unit)) {
        return fixedLength(count, unit);
    }
    switch (unit) {
    case kMonths:
        return count * kNominalMonthMillis;
    case kYears:
        return qorvel_detail::truncateToUint32(static_cast<double>(count * kDayMillis) *
                                               kNominalYearDays);
    case kEver:
        return kEverMillis;
    default:
        return 0;
    }
}

std::int64_t TimeBoxSpec::getTimeBoxStart(std::int64_t time) const {
    return boundary(*this, time, Side::start);
}

std::int64_t TimeBoxSpec::getTimeBoxEnd(std::int64_t time) const {
    return boundary(*this, time, Side::end);
}

QORVEL_END_NAMESPACE
