// Time boxes beside the calendar of the standard library, printed times, boxes of space and time.

#include "Bytes.h"
#include "law.h"

#include "qorvel/qorvel.h"

#include <chrono>
#include <unordered_set>

namespace {

using namespace std::chrono;

constexpr std::int64_t kCalendarEnd = 900000000000000; // in the year 30489
constexpr std::uint64_t kUnitMillis[] = {1, 1000, 60000, 3600000, 86400000, 2592000000};

/// The first of a month, counted from January 1970.
std::int64_t firstOf(int month) {
    const sys_days day{1970y / January / 1 + months(month)};
    return duration_cast<milliseconds>(day.time_since_epoch()).count();
}

void fuzzCalendar(const TimeBoxSpec& spec, std::int64_t time, std::int64_t start,
                  std::int64_t end) {
    const year_month_day date(floor<days>(sys_time<milliseconds>(milliseconds(time))));
    const int year = 12 * (static_cast<int>(date.year()) - 1970);
    const int month = static_cast<int>(static_cast<unsigned>(date.month())) - 1;
    const bool isYears = spec.unit == TimeBoxSpec::kYears; // counted from 1900
    const int length = static_cast<int>(spec.count) * (isYears ? 12 : 1);
    const int index = isYears ? year + 12 * 70 : month;
    const int first = (isYears ? -12 * 70 : year) + index / length * length;
    LAW(start == firstOf(first) && end == firstOf(first + length));
}

void fuzzBoundaries(const TimeBoxSpec& spec, std::int64_t time) {
    const std::int64_t start = spec.getTimeBoxStart(time);
    const std::int64_t end = spec.getTimeBoxEnd(time);
    const std::uint32_t length = spec.getDurationMillis();
    const bool isFixed = spec.unit < TimeBoxSpec::kMonths;
    LAW(spec.unit > 5 || length == static_cast<std::uint32_t>(spec.count * kUnitMillis[spec.unit]));
    if (spec.unit == TimeBoxSpec::kEver) {
        LAW(start == 0 && end == INT64_MAX && length == UINT32_MAX);
    } else if (spec.unit > TimeBoxSpec::kEver || spec.count == 0 || (isFixed && length == 0)) {
        LAW(start == 0 && end == 0);
    } else if (isFixed && time >= 0 && time <= INT64_MAX - length) {
        LAW(start <= time && time < end && end - start == length);
        LAW(spec.getTimeBoxStart(start) == start && spec.getTimeBoxStart(end) == end);
    } else if (!isFixed && time >= 0 && time < kCalendarEnd && spec.count < 2000) {
        LAW(start <= time && time < end);
        fuzzCalendar(spec, time, start, end);
    }
}

void fuzzPrinting(std::int64_t time) {
    std::string text = "old";
    LAW(UtilG2::prettyPrintTimeStamp(time, text) && text.size() < 40);
    if (time != 0 && std::abs(time / 1000) < kCalendarEnd / 1000000) {
        const sys_seconds second{seconds(time)};
        const year_month_day date(floor<days>(second));
        const hh_mm_ss clock(second - floor<days>(second));
        std::ostringstream expected; // January is 0
        expected << static_cast<int>(date.year()) << '-' << static_cast<unsigned>(date.month()) - 1
                 << '-' << static_cast<unsigned>(date.day()) << ' ' << clock.hours().count() << ':'
                 << clock.minutes().count() << ':' << clock.seconds().count();
        LAW(text == expected.str());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const char* const words[] = {"milliseconds", "Seconds", "minuteS", "hours",
                                 "DAYS",         "months",  "years",   "ever"};
    Bytes bytes(data, size);
    const std::uint64_t unit = bytes.take(1) % 9;
    const SpaceBoxSpec depth(bytes.count());
    const std::string word = unit < 8 ? words[unit] : bytes.text() + "!";
    SpaceTimeBoxSpec spec(depth, TimeBoxSpec(bytes.count(), word));
    LAW(spec.unit == unit);
    spec.unit = bytes.pick({spec.unit, spec.unit, bytes.count()});
    const bool isFine = tagsOf(depth).empty();
    LAW(isFine == (depth.geoHashBitDepth <= 128) &&
        tagsOf<TimeBoxSpec>(spec).empty() == (spec.unit != 8));
    LAW(tagsOf(spec) == (isFine ? tagsOf<TimeBoxSpec>(spec) : tagsOf(depth)));
    const auto time = bytes.pick(
        {bytes.whole<std::int64_t>(), static_cast<std::int64_t>(bytes.take(6)), INT64_MAX});
    fuzzBoundaries(spec, time);
    fuzzPrinting(time);
    fuzzPrinting(time / 1000);

    const TimeBox box(time, spec.getTimeBoxEnd(time));
    const TimeBox other(time ^ static_cast<std::int64_t>(bytes.take(1) % 2), box.end);
    const SpaceBox cell(bytes.whole<std::uint64_t>(), UINT64_C(0), depth.geoHashBitDepth);
    LAW(box.end > box.start || time == INT64_MAX);
    const std::unordered_set<ExtendedSTB, hash_SpaceTimeBox> boxes = {{1, cell, box},
                                                                      {2, cell, other}};
    LAW(boxes.size() == (box == other ? 1U : 2U) && boxes.count({3, cell, box}) == 1);
    LAW(hash_SpaceTimeBox()(SpaceTimeBox(cell, box)) ==
        hash_SpaceTimeBox()(ExtendedSTB(1, cell, box)));
    return 0;
}
