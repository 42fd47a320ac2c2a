// The facade's codes, tags and space-box services.

#include "qorvel/qorvel.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <limits>

namespace {

using API = QorvelMotionProcessorAPI;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kEdge = 1.0 - std::ldexp(1.0, -53); // what all ones decode to, as a share of the range

struct Outcome {
    int code;
    std::string tags;

    bool operator==(const Outcome& other) const { return code == other.code && tags == other.tags; }
};

void PrintTo(const Outcome& outcome, std::ostream* out) {
    *out << outcome.code << ' ' << outcome.tags;
}

Outcome outcomeOf(const std::function<int(std::stringstream&)>& call) {
    std::stringstream errors;
    errors << "kept,";
    const int code = call(errors);
    const std::string text = errors.str();
    EXPECT_EQ(text.substr(0, 5), "kept,"); // appended to, never cleared or read
    return {code, text.substr(5)};
}

Outcome makeMaster(std::uint32_t length, std::uint32_t count, const char* unit, STBMasterRow& out) {
    return outcomeOf([&](auto& errors) {
        return API::createSTBMasterRow("m", length, count, unit, out, errors);
    });
}

Outcome makeRow(double tolerance, double latitude, const std::list<std::string>& geohashes,
                STBAssignmentRow& out, const char* master = "m") {
    return outcomeOf([&](auto& errors) {
        return API::createSTBAssignmentRow("ANY", "car", tolerance, 1, master, geohashes, latitude,
                                           11.0, 500.0, 0.25, 0.75, out, errors);
    });
}

Outcome makeSpec(bool hangout, std::uint32_t count, const char* unit, double ratio,
                 STBCompressionSpec& out) {
    const auto build = hangout ? &API::createHangoutSpec : &API::createSTBCompressionSpec;
    return outcomeOf(
        [&](auto& errors) { return build("pk", "car", "m", count, unit, 3, ratio, out, errors); });
}

TEST(Builders, MasterRow) {
    STBMasterRow row;
    EXPECT_EQ(makeMaster(7, 2, "Hours", row), (Outcome{0, ""}));
    EXPECT_EQ(row.stbSpec.geoHashBitDepth, 35U);
    EXPECT_EQ(row.stbSpec.count, 2U);
    EXPECT_EQ(row.stbSpec.unit, TimeBoxSpec::kHours);
    EXPECT_EQ(row.masterId, MasterName::getMasterNameInt("m"));
    EXPECT_EQ(makeMaster(26, 1, "hour", row),
              (Outcome{-1, "ERROR_SPACEBOXSPEC_1,ERROR_CREATE_MASTER_1,"}));
    EXPECT_EQ(row.stbSpec.geoHashBitDepth, 130U) << "the invalid row is handed out";
    EXPECT_EQ(makeMaster(25, 1, "hour", row),
              (Outcome{-1, "ERROR_TIMEBOXSPEC_1,ERROR_CREATE_MASTER_1,"}));
    EXPECT_EQ(makeMaster(0, 0, "days", row), (Outcome{0, ""}));
    EXPECT_EQ(makeMaster(858993460, 1, "days", row), (Outcome{0, ""})); // 2^32 + 4 bits wrap to 4
    EXPECT_EQ(row.stbSpec.geoHashBitDepth, 4U);
}

TEST(Builders, AssignmentRow) {
    STBAssignmentRow row;
    EXPECT_EQ(makeRow(10.0, 48.0, {}, row), (Outcome{0, ""}));
    ASSERT_EQ(row.spaceBoxes.size(), 1U);
    EXPECT_TRUE(row.spaceBoxes.front() == SpaceBox());
    EXPECT_EQ(row.primaryKeyId, PrimaryKey::getPrimaryKeyInt("ANY"));
    EXPECT_EQ(row.secondaryKeyId, SecondaryKey::getSecondaryKeyInt("car"));
    EXPECT_EQ(row.maxSpaceTolerance, 10.0);
    EXPECT_EQ(row.maxTimeTolerance, 1U);
    EXPECT_EQ(row.latitude, 48.0);
    EXPECT_EQ(row.longitude, 11.0);
    EXPECT_EQ(row.radius, 500.0);
    EXPECT_EQ(row.spaceToleranceFactor, 0.25);
    EXPECT_EQ(row.timeToleranceFactor, 0.75);
    EXPECT_EQ(makeRow(10.0, 48.0, {"u28", "U2"}, row), (Outcome{0, ""}));
    EXPECT_TRUE(row.spaceBoxes.back() == SpaceBox("u2"));
    EXPECT_EQ(makeRow(-1.0, 91.0, {}, row),
              (Outcome{-2, "ERROR_ASSIGN_1,ERROR_ASSIGN_4,ERROR_CREATE_ASSIGN_1,"}));
    EXPECT_EQ(row.latitude, 91.0);
    EXPECT_EQ(makeRow(1.0, 1.0, {"u", "a", "i"}, row),
              (Outcome{-2, "ERROR_SPACEBOX_1,ERROR_SPACEBOX_2,ERROR_CREATE_ASSIGN_1,"}));
}

TEST(Builders, SpecsDifferInCodeAndTagAlone) {
    for (const bool hangout : {false, true}) {
        const int code = hangout ? -3 : -4;
        const std::string tag =
            hangout ? "ERROR_CREATE_HANGOUT_1," : "ERROR_CREATE_COMPRESSIONSPEC_1,";
        STBCompressionSpec spec;
        EXPECT_EQ(makeSpec(hangout, 30, "minutes", 0.5, spec), (Outcome{0, ""}));
        const auto primary = static_cast<std::uint32_t>(PrimaryKey::getPrimaryKeyInt("pk"));
        const auto secondary = static_cast<std::uint32_t>(SecondaryKey::getSecondaryKeyInt("car"));
        const auto master = static_cast<std::uint32_t>(MasterName::getMasterNameInt("m"));
        EXPECT_TRUE(spec == STBCompressionSpec(primary, secondary, master, 1800000, 3, 0.5));
        EXPECT_EQ(makeSpec(hangout, 1, "fortnights", 1.0, spec), (Outcome{0, ""}));
        EXPECT_EQ(spec.windowMillis, 0U) << "an unknown unit is not reported";
        EXPECT_EQ(makeSpec(hangout, 50, "days", 1.5, spec),
                  (Outcome{code, "ERROR_COMPRESSIONSPEC_1," + tag}));
        EXPECT_EQ(spec.windowMillis, 25032704U);
        EXPECT_EQ(makeSpec(hangout, 1, "days", kNaN, spec).code, code);
    }
}

TEST(Builders, Events) {
    Event event;
    const auto make = [&](const std::string& name, double latitude, double tolerance) {
        return outcomeOf([&](auto& errors) {
            return API::createEvent("pk", name, "car", latitude, 11.0, tolerance, 1234, 5, event,
                                    errors);
        });
    };
    EXPECT_EQ(make("alice", 48.0, 20.0), (Outcome{0, ""}));
    const Event first = event;
    EXPECT_EQ(first.eid, EIDName::getEIDNameInt("alice"));
    EXPECT_EQ(first.time, 1234);
    EXPECT_EQ(first.timeTolerance, 5U);
    EXPECT_EQ(first.secondaryKeyId, SecondaryKey::getSecondaryKeyInt("car"));
    EXPECT_EQ(make("alice", 100.0, -1.0), (Outcome{-5, "ERROR_EVENT_1,ERROR_CREATE_EVENT_1,"}));
    EXPECT_EQ(event.eid, first.eid);
    EXPECT_EQ(event.sequenceNumber, first.sequenceNumber + 1) << "used up by the invalid event";
    EXPECT_EQ(event.latitude, 100.0);
    EXPECT_EQ(event.spaceTolerance, 0.0);
    EXPECT_EQ(outcomeOf([&](auto& errors) {
                  return API::createEvent("pk", std::uint64_t{1} << 63, "car", 1.0, 2.0, kNaN, -1,
                                          0, event, errors);
              }),
              (Outcome{-5, "ERROR_EVENT_3,ERROR_EVENT_4,ERROR_CREATE_EVENT_1,"}));
    EXPECT_EQ(event.eid, std::uint64_t{1} << 63);
    EXPECT_EQ(EIDName::getEIDNameStr(first.eid + 1), "") << "a number registers no name";
}

/// In a process of its own, since the numbers of keys depend on what came before.
TEST(BuildersDeathTest, AnyIsKeyZeroWhereARowComesFirst) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto rowFirst = [] {
        STBCompressionSpec spec;
        makeSpec(true, 1, "hours", 0.5, spec);
        const bool anyIsZero = spec.primaryKeyId == 1 && PrimaryKey::getPrimaryKeyInt("ANY") == 0;
        std::exit(anyIsZero ? 0 : 1);
    };
    EXPECT_EXIT(rowFirst(), testing::ExitedWithCode(0), "");
    const auto eventFirst = [] {
        Event event;
        std::stringstream errors;
        API::createEvent("pk", "x", "car", 0.0, 0.0, 0.0, 0, 0, event, errors);
        STBAssignmentRow row;
        makeRow(1.0, 1.0, {}, row);
        const bool isFirst = event.primaryKeyId == 0 && event.sequenceNumber == 0;
        std::exit(isFirst && row.primaryKeyId == 1 ? 0 : 1);
    };
    EXPECT_EXIT(eventFirst(), testing::ExitedWithCode(0), "");
}

TEST(Processors, CodesAndTagsRunAgainstEachOther) {
    STBMasterRow master;
    makeMaster(7, 1, "hours", master);
    STBAssignmentRow good;
    makeRow(1.0, 1.0, {}, good);
    STBAssignmentRow orphan;
    makeRow(1.0, 1.0, {}, orphan, "nobody");
    STBCompressionSpec fits;
    makeSpec(true, 3599999, "milliseconds", 0.5, fits);
    STBCompressionSpec tooLong;
    makeSpec(true, 1, "hours", 0.5, tooLong);
    STBCompressionSpec lost = fits;
    lost.masterId = 999999;
    const struct {
        std::list<STBMasterRow> masters;
        std::list<STBAssignmentRow> rows;
        std::list<STBCompressionSpec> specs;
        std::string tags;
    } tables[] = {
        {{}, {}, {}, ""},
        {{master}, {good}, {fits}, ""},
        {{}, {orphan, orphan}, {}, "ERROR_MOTIONPROCESSOR_1,ERROR_MOTIONPROCESSOR_1,"},
        {{master}, {good}, {tooLong}, "ERROR_MOTIONPROCESSOR_3,"},
        {{master},
         {orphan},
         {tooLong, lost, fits},
         "ERROR_MOTIONPROCESSOR_1,ERROR_MOTIONPROCESSOR_3,ERROR_MOTIONPROCESSOR_2,"},
    };
    for (const auto& table : tables) {
        MotionProcessor processor({master}, {good}, {fits});
        const auto expected = [&](int code, const char* tag) {
            return table.tags.empty() ? Outcome{0, ""} : Outcome{code, table.tags + tag};
        };
        EXPECT_EQ(outcomeOf([&](auto& errors) {
                      return API::createMotionProcessorForHangouts(table.masters, table.rows,
                                                                   table.specs, processor, errors);
                  }),
                  expected(-6, "ERROR_CREATE_MOTIONPROCESSOR_1,"));
        EXPECT_EQ(outcomeOf([&](auto& errors) {
                      return API::createMotionProcessorForPresenceCompression(
                          table.masters, table.rows, table.specs, processor, errors);
                  }),
                  expected(-7, "ERROR_CREATE_MOTIONPROCESSOR_2,"));
        const Outcome boxes = outcomeOf([&](auto& errors) {
            return API::createMotionProcessorForSTBs(table.masters, table.rows, processor, errors);
        });
        const bool rowsAreGood = table.tags.find("_1,") == std::string::npos;
        EXPECT_EQ(boxes.code, rowsAreGood ? 0 : -8);
        EXPECT_EQ(boxes.tags.find("ERROR_CREATE_MOTIONPROCESSOR_3,") == std::string::npos,
                  rowsAreGood);
        std::stringstream replaced;
        EXPECT_EQ(processor.isValid(replaced), rowsAreGood) << "also a failed call replaces it";
    }
}

TEST(SpaceBoxServices, ToStringReplacesAndCentroidAverages) {
    std::stringstream errors;
    std::string text = "before";
    EXPECT_EQ(API::toString(SpaceBox("u281z7j"), text, errors), 0);
    EXPECT_EQ(text, "u281z7j");

    const double lastCell = std::ldexp(1.0, -20); // 2^-20 of the world at 40 bits
    const struct {
        SpaceBox box;
        double latitude, longitude;
    } rows[] = {
        {SpaceBox(), (90.0 * kEdge - 90.0) / 2.0, (-180.0 + 180.0) / 2.0},
        {SpaceBox(UINT64_C(0), UINT64_C(0), 4000000000U), -90.0, -180.0},
        {SpaceBox(UINT64_C(3) << 62, 0, 128), 0.0, 0.0},
        {SpaceBox(UINT64_C(3) << 62, 0, 192), 0.0, 0.0}, // as 128
        {SpaceBox(UINT64_C(3) << 62, 0, 2), 45.0, 90.0},
        {SpaceBox(UINT64_C(0), UINT64_C(0), 40U), -90.0 + 90.0 * lastCell,
         -180.0 + 180.0 * lastCell},
    };
    for (const auto& row : rows) {
        double latitude = 0.0;
        double longitude = 0.0;
        EXPECT_EQ(API::getCentroid(row.box, latitude, longitude, errors), 0);
        // The upper corner is the last code in the cell: off the middle by less than 1e-7 degrees.
        EXPECT_NEAR(latitude, row.latitude, 1e-7);
        EXPECT_NEAR(longitude, row.longitude, 1e-7);
    }
    double latitude = 0.0;
    double longitude = 0.0;
    API::getCentroid(SpaceBox(), latitude, longitude, errors);
    EXPECT_EQ(latitude, (-90.0 + 90.0 * kEdge) / 2.0);
    EXPECT_EQ(longitude, 0.0) << "the eastern corner is exactly 180";
    API::getCentroid(SpaceBox(UINT64_C(0x1234567890ABCDEF), UINT64_MAX, 64), latitude, longitude,
                     errors);
    const SpaceBox again(latitude, longitude, 60);
    EXPECT_TRUE(again.equals(SpaceBox(UINT64_C(0x1234567890ABCDEF), 0, 60), 60));
    EXPECT_EQ(errors.str(), "");
}

TEST(ProcessorCalls, ReturnZeroWriteNoTagsAndPairWithTheProcessor) {
    STBMasterRow master;
    makeMaster(7, 1, "hours", master);
    STBAssignmentRow row;
    makeRow(100.0, 48.0, {}, row);
    STBCompressionSpec spec;
    makeSpec(true, 1, "minutes", 0.0, spec);
    spec.primaryKeyId = 0;
    row.primaryKeyId = 0;
    std::stringstream errors;
    MotionProcessor processor;
    ASSERT_EQ(API::createMotionProcessorForHangouts({master}, {row}, {spec}, processor, errors), 0);
    std::list<SpaceTimeBox> boxes;
    std::list<STBCompressedEvent> presences;
    std::list<STBCompressedEvent> hangouts;
    for (int i = 0; i < 4; ++i) {
        Event event;
        API::createEvent("pk", "walker", "car", 48.0, 11.0, 0.0, 3600000 + i * 30000, 0, event,
                         errors);
        EXPECT_EQ(API::processEventForSTBs(event, processor, boxes, errors), 0);
        MotionProcessor other({master}, {row}, {spec});
        EXPECT_EQ(API::processEventForPresenceCompression(event, other, presences, errors), 0);
        std::list<STBCompressedEvent> found;
        EXPECT_EQ(API::processEventForHangouts(event, processor, found, errors), 0);
        hangouts.splice(hangouts.end(), found);
    }
    EXPECT_EQ(boxes.size(), 4U);
    EXPECT_TRUE(presences.empty()) << "each with a processor of its own: never three";
    ASSERT_EQ(hangouts.size(), 1U) << "three items and a minute, reported once";
    EXPECT_EQ(hangouts.front().totalCount, 3U);
    EXPECT_EQ(processor.getItemCount(), 4U);
    EXPECT_EQ(API::gc(processor, 3600000 + 60000, errors), 0);
    EXPECT_EQ(processor.getItemCount(), 2U);
    EXPECT_EQ(API::gc(processor, std::numeric_limits<std::int64_t>::max()), 0);
    EXPECT_EQ(processor.getEntityCount(), 0U);
    EXPECT_EQ(processor.getRecentHangoutCount(), 1U);
    EXPECT_EQ(processor.getDetectorCount(), 1U);
    EXPECT_EQ(errors.str(), "");
}

} // namespace
