#include "qorvel/geodesy/PointGeodetic128.h"
#include "qorvel/geodesy/distanceByMetric.h"
#include "qorvel/geohash/UtilG2.h"
#include "qorvel/processor/MotionProcessor.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <sstream>
#include <string>

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

STBMasterRow master(std::int32_t id, std::uint32_t boxMillis = 100) {
    return {id, {SpaceBoxSpec(35), TimeBoxSpec(boxMillis, "milliseconds")}};
}

STBAssignmentRow row(std::int32_t masterId = 0) {
    return {1, 2, 20.0, 1, masterId, {SpaceBox()}, 48.0, 11.0, 1000.0, 0.0, 1.0};
}

STBCompressionSpec spec(std::uint32_t minCount, std::uint32_t window = 50) {
    return {0, 0, 0, window, minCount, 0.5};
}

Event event(std::int64_t time = 1070) {
    return {1, 5, 2, 48.0, 11.0, 20.0, time, 0};
}

TEST(MotionProcessor, RowAppliesWhenSixTestsHold) {
    const struct {
        const char* fault;
        void (*change)(STBAssignmentRow&, Event&);
        bool applies;
    } cases[] = {
        {"as it is", [](auto&, auto&) {}, true},
        {"primary key", [](auto& r, auto&) { r.primaryKeyId = 3; }, false},
        {"primary key 0 of the row", [](auto& r, auto&) { r.primaryKeyId = 0; }, true},
        {"primary key 0 of the event", [](auto&, auto& e) { e.primaryKeyId = 0; }, false},
        {"secondary key", [](auto& r, auto&) { r.secondaryKeyId = 0; }, false},
        {"space tolerance", [](auto&, auto& e) { e.spaceTolerance = 20.001; }, false},
        {"tolerance NaN of the row", [](auto& r, auto&) { r.maxSpaceTolerance = kNan; }, false},
        {"tolerance NaN of the event", [](auto&, auto& e) { e.spaceTolerance = kNan; }, false},
        {"time tolerance", [](auto&, auto& e) { e.timeTolerance = 1; }, true},
        {"... above", [](auto&, auto& e) { e.timeTolerance = 2; }, false},
        {"... unsigned", [](auto& r, auto& e) { r.maxTimeTolerance = e.timeTolerance = ~0U; },
         true},
        {"radius 0 at the centre", [](auto& r, auto&) { r.radius = 0.0; }, true},
        {"... beside it", [](auto& r, auto& e) { r.radius = 0.0, e.latitude = 48.001; }, false},
        {"radius NaN", [](auto& r, auto&) { r.radius = kNan; }, false},
        {"no cells", [](auto& r, auto&) { r.spaceBoxes.clear(); }, false},
        {"another cell", [](auto& r, auto&) { r.spaceBoxes = {SpaceBox("zz")}; }, false},
        {"second cell",
         [](auto& r, auto&) {
             r.spaceBoxes = {SpaceBox("zz"), {48.0, 11.0, 25}};
         },
         true},
        {"its own cell", [](auto& r, auto&) { r.spaceBoxes = {SpaceBox(48.0, 11.0, 128)}; }, true},
        {"unreadable cell", [](auto& r, auto&) { r.spaceBoxes = {SpaceBox("!")}; }, false},
        {"missing master", [](auto& r, auto&) { r.masterId = 9; }, false},
    };
    for (const auto& [fault, change, applies] : cases) {
        STBAssignmentRow changed = row();
        Event seen = event();
        change(changed, seen);
        MotionProcessor processor({master(0)}, {changed}, {spec(1)});
        std::list<SpaceTimeBox> boxes;
        EXPECT_TRUE(processor.getSTB(seen, boxes));
        EXPECT_EQ(applies, !boxes.empty()) << fault;
        std::list<STBCompressedEvent> records;
        EXPECT_TRUE(processor.processEventForPresenceCompression(seen, records));
        EXPECT_EQ(applies, !records.empty()) << fault;
        EXPECT_EQ(applies ? 1U : 0U, processor.getDetectorCount()) << fault;
    }
}

/// The time boxes of an event of one cell, in their order.
std::string timeBoxes(std::int64_t time, std::uint32_t tolerance, double factor) {
    STBAssignmentRow tolerant = row();
    tolerant.maxTimeTolerance = UINT32_MAX;
    tolerant.timeToleranceFactor = factor;
    Event seen = event(time);
    seen.timeTolerance = tolerance;
    std::list<SpaceTimeBox> out = {SpaceTimeBox()};
    MotionProcessor({master(0)}, {tolerant}, {}).getSTB(seen, out);
    EXPECT_TRUE(out.back() == SpaceTimeBox()) << "what the caller left stays behind";
    out.pop_back();
    std::ostringstream text;
    for (const SpaceTimeBox& box : out) {
        text << box.start << ".." << box.end << ' ';
    }
    return text.str();
}

TEST(MotionProcessor, TimeBoxesReachBackAndAhead) {
    EXPECT_EQ("1000..1100 ", timeBoxes(1050, 0, 1.0));
    EXPECT_EQ("1000..1100 ", timeBoxes(1090, 9, 1.0));
    EXPECT_EQ("1000..1100 1000..1200 ", timeBoxes(1090, 10, 1.0));
    EXPECT_EQ("1000..1100 ", timeBoxes(1090, 19, 0.5)); // 9.5 truncates
    EXPECT_EQ("1000..1100 1000..1200 ", timeBoxes(1090, 20, 0.5));
    EXPECT_EQ("900..1000 1000..1100 ", timeBoxes(1010, 20, 1.0));
    EXPECT_EQ("800..900 1000..1400 ", timeBoxes(1050, 250, 1.0)); // none in between
    EXPECT_EQ("0..100 0..200 ", timeBoxes(50, 60, 1.0));
    EXPECT_EQ("1000..1100 ", timeBoxes(1050, 7, kNan));
    // 32 bits of -1
    EXPECT_EQ("-4294966200..-4294966100 1000..4294968400 ", timeBoxes(1050, 1, -1.0));
}

TEST(MotionProcessor, RoutesAnEventOncePerMatch) {
    // Two rows lead to two equal specs: the one detector sees the event four times.
    MotionProcessor processor({master(0)}, {row(), row()}, {spec(4), spec(4)});
    std::list<STBCompressedEvent> out;
    processor.processEventForHangout(event(), out);
    EXPECT_EQ(1U, processor.getDetectorCount());
    EXPECT_EQ(4U, processor.getItemCount());
    EXPECT_EQ(0U, out.size()); // nothing stays for 50 ms at once
    processor.processEventForPresenceCompression(event(), out);
    ASSERT_EQ(1U, out.size());
    EXPECT_EQ(5U, out.front().eventSequenceNumbers.size()); // as when first established
    EXPECT_EQ(8U, processor.getItemCount());
}

TEST(MotionProcessor, SuppressesWhatWasReported) {
    MotionProcessor processor({master(0)}, {row()}, {spec(1)});
    const MotionProcessor before(processor);
    std::list<STBCompressedEvent> out;
    processor.processEventForPresenceCompression(event(), out);
    ASSERT_EQ(1U, out.size());
    const STBCompressedEvent reported = out.front();
    std::list<STBCompressedEvent> others(5, reported);
    auto other = others.begin();
    (other++)->stb.end += 1;
    (other++)->stb.setGeoHashBitDepth(34);
    (other++)->specPrimaryKeyId += 1;
    (other++)->eid += UINT64_C(1) << 32;
    (other++)->masterId += 1; // not part of what tells records apart
    out.insert(out.end(), others.begin(), others.end());
    out.insert(out.end(), others.begin(), others.end());
    MotionProcessor copy(processor);
    processor.processEventForPresenceCompression(event(), out);
    EXPECT_EQ(4U, out.size());
    EXPECT_EQ(5U, processor.getRecentHangoutCount());
    EXPECT_EQ(1U, copy.getRecentHangoutCount()); // its own memory, but the same detectors
    EXPECT_EQ(2U, copy.getItemCount());
    copy = before;
    EXPECT_EQ(0U, copy.getDetectorCount());
    processor.gc(INT64_MAX);
    EXPECT_EQ(0U, processor.getEntityCount());
    EXPECT_EQ(5U, processor.getRecentHangoutCount());
}

std::string tags(const std::list<STBMasterRow>& masters, const std::list<STBAssignmentRow>& rows,
                 const std::list<STBCompressionSpec>& specs) {
    std::stringstream errors;
    const bool valid = MotionProcessor(masters, rows, specs).isValid(errors);
    EXPECT_EQ(valid, errors.str().empty());
    return errors.str();
}

TEST(MotionProcessor, ValidatesAcrossTables) {
    const std::string tooLong = "ERROR_MOTIONPROCESSOR_3,";
    const STBMasterRow days(0, {SpaceBoxSpec(35), {50, "days"}}); // 25032704 ms
    const STBMasterRow ever(0, {SpaceBoxSpec(35), {1, "ever"}});
    const STBMasterRow invalid(0, {SpaceBoxSpec(35), {1, "?"}});
    EXPECT_EQ("", tags({}, {}, {}));
    EXPECT_EQ("ERROR_MOTIONPROCESSOR_1,ERROR_MOTIONPROCESSOR_1,",
              tags({master(1)}, {row(), row(), row(1)}, {}));
    EXPECT_EQ("ERROR_MOTIONPROCESSOR_2,", tags({master(1)}, {row(1)}, {spec(1)}));
    EXPECT_EQ("ERROR_MOTIONPROCESSOR_1," + tooLong, tags({master(0)}, {row(7)}, {spec(1, 100)}));
    EXPECT_EQ("", tags({master(0), master(0, 99)}, {row()}, {spec(1, 99)}));
    EXPECT_EQ(tooLong, tags({master(0, 99), master(0)}, {row()}, {spec(1, 99)}));
    EXPECT_EQ("", tags({days}, {}, {spec(1, 25032703)}));
    EXPECT_EQ(tooLong, tags({days}, {}, {spec(1, 25032704)}));
    EXPECT_EQ(tooLong, tags({ever}, {}, {spec(1, UINT32_MAX)}));
    EXPECT_EQ(tooLong, tags({invalid}, {}, {spec(1, 0)}));
}

TEST(MotionProcessor, EqualSpecsShareADetectorAndANotANumberIsFoundByNone) {
    STBCompressionSpec lost = spec(1);
    lost.ratio = kNan;
    MotionProcessor processor({master(0)}, {row()}, {spec(1), lost, spec(1)});
    std::list<STBCompressedEvent> out;
    processor.processEventForPresenceCompression(event(), out);
    processor.processEventForPresenceCompression(event(), out);
    EXPECT_EQ(processor.getDetectorCount(), 3U) << "one shared, one for each event";
    EXPECT_EQ(processor.getItemCount(), 6U) << "twice each into the shared one";
    processor.gc(std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(processor.getItemCount(), 2U) << "the lost ones are never aged";
}

TEST(MotionProcessor, GivesAnEventOnceForARowWithSeveralCellsThatHoldIt) {
    STBAssignmentRow several = row();
    const SpaceBox cell(48.0, 11.0, 20);
    several.spaceBoxes = {cell, SpaceBox(48.0, 11.0, 10), cell};
    for (std::uint32_t depth = 40; depth < 60; ++depth) { // more depths than the index takes
        several.spaceBoxes.push_back(SpaceBox(48.0, 11.0, depth));
    }
    several.spaceBoxes.push_back(SpaceBox());
    STBAssignmentRow any = several;
    any.primaryKeyId = 0;
    MotionProcessor processor({master(0)}, {several, any}, {spec(1)});
    std::list<STBCompressedEvent> out;
    processor.processEventForPresenceCompression(event(), out);
    EXPECT_EQ(processor.getItemCount(), 2U) << "once for each row";
    several.spaceBoxes = {SpaceBox("zz")};
    for (std::uint32_t depth = 40; depth < 60; ++depth) {
        several.spaceBoxes.push_back(SpaceBox(-48.0, 11.0, depth));
    }
    MotionProcessor elsewhere({master(0)}, {several}, {spec(1)});
    elsewhere.processEventForPresenceCompression(event(), out);
    EXPECT_EQ(elsewhere.getItemCount(), 0U);
}

/// Most distances are decided by a bound; at the radius itself only the exact one will do.
TEST(MotionProcessor, RadiusIsExactToTheLastBit) {
    std::mt19937_64 random(7);
    const auto uniform = [&random](double low, double high) {
        return low + (high - low) * std::ldexp(static_cast<double>(random() >> 11), -53);
    };
    const auto isNear = [](const Event& seen, double latitude, double longitude, double radius) {
        STBAssignmentRow around = row();
        around.latitude = latitude;
        around.longitude = longitude;
        around.radius = radius;
        std::list<SpaceTimeBox> boxes;
        MotionProcessor({master(0)}, {around}, {}).getSTB(seen, boxes);
        return !boxes.empty();
    };
    int answers[2] = {};
    for (int i = 0; i < 4000; ++i) {
        const double reach = std::ldexp(180.0, -(i % 40)); // from the whole world to the millimetre
        Event seen = event();
        const double latitude = uniform(-90.0, 90.0);
        const double longitude = i % 3 == 0 ? 179.999 : uniform(-180.0, 180.0);
        seen.latitude = std::clamp(latitude + uniform(-reach, reach), -90.0, 89.999999);
        seen.longitude = std::remainder(longitude + uniform(-reach, reach), 360.0);
        const double distance = distanceByMetric(2, PointGeodetic128(seen.latitude, seen.longitude),
                                                 PointGeodetic128(latitude, longitude));
        for (const double radius :
             {distance, std::nextafter(distance, 0.0), std::nextafter(distance, 1e9),
              distance - 9e-4, distance + 9e-4, distance - 2e-3, distance + 2e-3, distance * 0.9,
              distance * 1.1, distance * 0.5, distance * 2.0, 1.5e7, 2.1e7, -1.0}) {
            const bool expected =
                UtilG2::nearFilter(seen.latitude, seen.longitude, latitude, longitude, radius);
            ASSERT_EQ(isNear(seen, latitude, longitude, radius), expected)
                << seen.latitude << ' ' << seen.longitude << " from " << latitude << ' '
                << longitude << " within " << radius;
            ++answers[expected ? 1 : 0];
        }
    }
    EXPECT_GT(answers[0], 10000);
    EXPECT_GT(answers[1], 10000);
}

} // namespace
