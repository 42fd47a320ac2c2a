#include "qorvel/hangout/HangoutDetector.h"

#include <bit>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

namespace {

/// The NaN that marks a free slot of the table of last events.
constexpr double kNowhere = std::bit_cast<double>(UINT64_C(0x7FF8000000000F4E));

/// Streams of one entity in one cell, and what the last fix gives. What a row would catch |
/// presence or hangouts, time box, window, minimum, ratio | fixes: time, ~ tolerance, @ elsewhere,
/// ? nowhere | whether the rule holds, and the records: box total=before+after first..end
/// lastBefore/firstAfter #events
constexpr const char* kRows = R"(
box begins in the window        | P 100 milliseconds 20 1 0.5 | 1010          | holds; 1000..1100 1=0+1 1010..1011 0/1010 #0
window lies within the box      | P 100 milliseconds 20 1 0.5 | 1050          | holds; 1000..1100 1=1+0 1050..1051 1050/max #0
box begins as the window does   | P 100 milliseconds 20 1 0.5 | 1020          | holds; 1000..1100 1=1+0 1020..1021 1020/max #0
.. 1 ms earlier                 | P 100 milliseconds 20 1 0.5 | 1019          | holds; 1000..1100 1=0+1 1019..1020 0/1019 #0
ever ends with time itself      | P 1 ever 20 1 0.5           | 21            | holds; 0..max 1=1+0 21..22 21/max #0
ever begins in an early window  | P 1 ever 20 1 0.5           | 19            | holds; 0..max 1=0+1 19..20 0/19 #0
months that divide no year      | P 5 months 20 1 0.5         | 1639526400000 | holds; 1640995200000..1648771200000 1=1+0 1639526400000..1639526400001 1639526400000/max #0
count of 0                      | P 0 hours 20 1 0.5          | 1000          | holds; 0..1 1=0+1 1000..1001 0/1000 #0
division truncates below zero   | P 100 milliseconds 20 1 0.5 | -1            | holds; 0..1 1=1+0 -1..0 0/max #0
time plus 1 wraps               | P 1 ever 20 1 0.5           | max           | holds; max..min 1=0+1 max..min 0/max #0
interval that wraps has ended   | P 1 ever 20 1 0.5           | max~1         | no
ended as the window begins      | P 100 milliseconds 20 2 0.5 | 1030 1050     | no
.. 1 ms later                   | P 100 milliseconds 20 2 0.5 | 1031 1050     | holds; 1000..1100 2=2+0 1031..1051 1050/max #0#1
.. by its tolerance             | P 100 milliseconds 20 2 0.5 | 1030~1 1050   | holds; 1000..1100 2=2+0 1030..1051 1050/max #0#1
walk stops at what is kept      | P 100 milliseconds 20 2 0.5 | 1080 1020 1050 | holds; 1000..1100 2=2+0 1080..1051 1080/max #0#2
window of 0 keeps nothing       | P 100 milliseconds 0 1 0.5  | 1050          | no
.. and a minimum of 0 holds     | P 100 milliseconds 0 0 0    | 1050          | holds
.. unless by a tolerance        | P 100 milliseconds 0 1 0.5  | 1050~1        | holds; 1000..1100 1=1+0 1050..1051 1050/max #0
tolerance spans the boundary    | P 100 milliseconds 20 2 0.3 | 999~9 1010    | holds; 900..1000 3=1+2 999..1011 999/1010 #0#1; 1000..1100 3=1+2 999..1011 999/1010 #0#1
share below the ratio           | P 100 milliseconds 20 2 0.4 | 999~9 1010    | holds; 1000..1100 3=1+2 999..1011 999/1010 #0#1
share equals the ratio          | P 100 milliseconds 20 2 0.5 | 995~4 1010    | holds; 900..1000 2=1+1 995..1011 995/1010 #0#1; 1000..1100 2=1+1 995..1011 995/1010 #0#1
.. no number                    | P 100 milliseconds 20 2 nan | 995~4 1010    | holds
ends at the boundary            | P 100 milliseconds 20 2 0.4 | 995~5 1010    | holds; 1000..1100 3=1+2 995..1011 995/1010 #0#1
begins at the boundary          | P 100 milliseconds 20 1 0   | 1005~5        | holds; 1000..1100 1=0+1 1005..1006 0/1005 #0
.. 1 ms before it               | P 100 milliseconds 20 1 0.5 | 1005~6        | holds; 900..1000 2=1+1 1005..1006 0/1005 #0; 1000..1100 2=1+1 1005..1006 0/1005 #0
at the boundary                 | P 100 milliseconds 20 1 0   | 1000          | holds; 1000..1100 1=0+1 1000..1001 0/1000 #0
front and back by arrival       | P 100 milliseconds 20 3 0.5 | 1015 1004 1010 | holds; 1000..1100 3=0+3 1015..1011 0/1004 #0#1#2
fewer than the minimum          | P 100 milliseconds 20 3 0   | 1050 1050     | no
a place between does not matter | P 100 milliseconds 20 2 0   | 1050 1051@ 1052 | holds; 1000..1100 2=2+0 1050..1053 1052/max #0#2
boundary is the box's start     | D 100 milliseconds 0 1 1    | 1050          | holds; 1000..1100 1=0+1 1050..1051 0/1050 #0
covers the window by tolerance  | D 100 milliseconds 20 1 1   | 1050~10       | holds; 1000..1100 1=0+1 1050..1051 0/1050 #0
.. but not a ms more            | D 100 milliseconds 21 1 1   | 1050~10       | no
stays long enough               | D 100 milliseconds 20 2 1   | 1050 1070     | holds; 1000..1100 2=0+2 1050..1071 0/1050 #0#1
.. but too few fixes            | D 100 milliseconds 20 3 0   | 1050 1070     | no
was elsewhere in between        | D 100 milliseconds 0 2 0    | 1050 1051@ 1070 | no
.. begins anew                  | D 100 milliseconds 0 1 0    | 1050 1051@ 1070 | holds; 1000..1100 1=0+1 1070..1071 0/1070 #2
ended as the look-back begins   | D 100 milliseconds 1 2 0    | 1000 1100     | holds; 1000..1100 2=1+1 1000..1101 1000/1100 #0#1; 1100..1200 2=1+1 1000..1101 1000/1100 #0#1
.. 1 ms earlier                 | D 100 milliseconds 1 2 0    | 1000 1101     | no
side below the minimum          | D 100 milliseconds 1 2 1    | 999 1000 1001 | holds; 1000..1100 3=1+2 999..1002 999/1000 #0#1#2
minimum is the denominator      | D 100 milliseconds 1 1 2    | 999 1000 1001 | holds; 1000..1100 3=1+2 999..1002 999/1000 #0#1#2
minimum of 0 divides            | D 100 milliseconds 0 0 1    | 1000~1        | holds; 900..1000 2=1+1 1000..1001 0/1000 #0; 1000..1100 2=1+1 1000..1001 0/1000 #0
late fix covers less than none  | D 100 milliseconds 0 1 0    | 1060 1050     | no
two months wrap to ten days     | D 2 months 1 2 1            | 1614556800000 1615445832704 | holds; 1614556800000..1619827200000 2=0+2 1614556800000..1615445832705 0/1614556800000 #0#1
.. but not a ms more            | D 2 months 1 2 1            | 1614556800000 1615445832705 | no
one year wraps to 17 days       | D 1 years 1 2 1             | 1609459200000 1610952028928 | holds; 1609459200000..1640995200000 2=0+2 1609459200000..1610952028929 0/1609459200000 #0#1
.. but not a ms more            | D 1 years 1 2 1             | 1609459200000 1610952028929 | no
places that are no number are one | D 100 milliseconds 0 2 nan | 1050? 1050?   | holds
wrapped times empty the series  | D 100 milliseconds 0 0 0    | min           | no
)";

std::int64_t timeOf(const std::string& text) {
    return text == "max" ? INT64_MAX : text == "min" ? INT64_MIN : std::stoll(text);
}

std::string textOf(std::int64_t time) {
    return time == INT64_MAX ? "max" : time == INT64_MIN ? "min" : std::to_string(time);
}

/// As in the rows; the fields that every record has in common are checked here.
std::string textOf(const STBCompressedEvent& record, std::uint64_t firstSequenceNumber) {
    EXPECT_EQ(SpaceBox(48.0, 11.0, 35), static_cast<const SpaceBox&>(record.stb));
    EXPECT_EQ(5U, record.eid);
    EXPECT_EQ(7U, record.specPrimaryKeyId);
    EXPECT_EQ(0U - 3U, record.eventSecondaryKeyId);
    EXPECT_EQ(9U, record.masterId);
    std::ostringstream text;
    text << "; " << textOf(record.stb.start) << ".." << textOf(record.stb.end) << ' '
         << record.totalCount << '=' << record.beforeCount << '+' << record.afterCount << ' '
         << textOf(record.firstTime) << ".." << textOf(record.endTime) << ' '
         << textOf(record.lastTimeBefore) << '/' << textOf(record.firstTimeAfter) << ' ';
    for (const std::uint64_t number : record.eventSequenceNumbers) {
        text << '#' << number - firstSequenceNumber;
    }
    return text.str();
}

std::string outcome(std::istringstream config, std::istringstream fixes) {
    std::string mode;
    std::string unit;
    std::string ratio;
    std::uint32_t count = 0;
    STBCompressionSpec spec(7, 8, 9, 0, 0, 0.0);
    config >> mode >> count >> unit >> spec.windowMillis >> spec.minCount >> ratio;
    spec.ratio = std::stod(ratio);
    const SpaceTimeBoxSpec resolution(SpaceBoxSpec(35), TimeBoxSpec(count, unit));
    const auto process = mode == "P" ? &HangoutDetector::processEventPresenceCompression
                                     : &HangoutDetector::processEventDwellTime;
    HangoutDetector detector;
    bool holds = false;
    std::list<STBCompressedEvent> out;
    std::vector<std::uint64_t> numbers;
    for (std::string fix; fixes >> fix;) {
        const std::size_t tilde = fix.find('~');
        const double latitude = fix.find('@') != std::string::npos   ? 49.0
                                : fix.find('?') != std::string::npos ? kNowhere
                                                                     : 48.0;
        const auto tolerance = tilde == std::string::npos ? 0 : timeOf(fix.substr(tilde + 1));
        const Event event(1, 5, -3, latitude, 11.0, 0.0, timeOf(fix.substr(0, tilde)),
                          static_cast<std::uint32_t>(tolerance));
        numbers.push_back(event.sequenceNumber);
        out.clear();
        holds = (detector.*process)(event, 1.0, 1.0, spec, resolution, out);
    }
    std::string result = holds ? "holds" : "no";
    for (const STBCompressedEvent& record : out) {
        result += textOf(record, numbers.front());
    }
    return result;
}

TEST(HangoutDetector, Rows) {
    std::istringstream lines(kRows);
    lines.ignore(1);
    for (std::string fault, config, fixes, expected; std::getline(lines, fault, '|');) {
        std::getline(lines, config, '|');
        std::getline(lines, fixes, '|');
        std::getline(lines >> std::ws, expected);
        EXPECT_EQ(expected, outcome(std::istringstream(config), std::istringstream(fixes)))
            << fault;
    }
}

/// Entities, cells and items.
std::vector<std::uint64_t> counts(const HangoutDetector& detector) {
    return {detector.getEntityCount(), detector.getCellCount(), detector.getItemCount()};
}

TEST(HangoutDetector, GcForgetsWhatEndedBefore) {
    using Counts = std::vector<std::uint64_t>;
    const SpaceTimeBoxSpec resolution(SpaceBoxSpec(35), TimeBoxSpec(1, "hours"));
    HangoutDetector detector;
    const auto see = [&](std::uint64_t entity, double latitude, std::uint32_t window,
                         std::uint32_t tolerance) {
        std::list<STBCompressedEvent> out;
        const STBCompressionSpec spec(0, 0, 0, window, 1, 0.0);
        const Event event(0, entity, 0, latitude, 11.0, 0.0, 1000, tolerance);
        detector.processEventPresenceCompression(event, 1.0, 1.0, spec, resolution, out);
    };
    see(1, 48.0, 100, 50);
    see(1, 49.0, 0, 0);   // leaves an empty series
    see(2, 90.0, 100, 0); // no cell holds the pole: leaves an entity without series
    EXPECT_EQ((Counts{2, 2, 1}), counts(detector));
    const HangoutDetector copy(detector);
    detector.gc(1050);
    EXPECT_EQ((Counts{1, 1, 1}), counts(detector));
    detector.gc(1051);
    EXPECT_EQ((Counts{0, 0, 0}), counts(detector));
    EXPECT_EQ((Counts{2, 2, 1}), counts(copy));
}

} // namespace
