// Time boxes, records and validators.

#include "qorvel/model/EIDName.h"
#include "qorvel/model/Event.h"
#include "qorvel/model/ExtendedSTB.h"
#include "qorvel/model/MasterName.h"
#include "qorvel/model/PrimaryKey.h"
#include "qorvel/model/STBAssignmentRow.h"
#include "qorvel/model/STBCompressedEvent.h"
#include "qorvel/model/SecondaryKey.h"
#include "qorvel/model/SpaceTimeBoxSpec.h"
#include "qorvel/model/detail/TimeBoxMemo.h"
#include "qorvel/model/hash_STBCompressionSpec.h"
#include "qorvel/model/hash_SpaceTimeBox.h"

#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <unordered_set>

namespace {

constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

template <typename Record>
std::string tagsOf(const Record& record) {
    std::stringstream errors;
    const bool valid = record.isValid(errors);
    EXPECT_EQ(valid, errors.str().empty());
    return errors.str();
}

TEST(TimeBoxSpec, ReadsUnitWords) {
    const std::pair<const char*, std::uint32_t> words[] = {
        {"milliseconds", 0}, {"seconds", 1},  {"minutes", 2},  {"MiNuTeS", 2}, {"HOURS", 3},
        {"DAYS", 4},         {"months", 5},   {"years", 6},    {"Ever", 7},    {"", 8},
        {"minute", 8},       {" minutes", 8}, {"minutes ", 8}, {"\xc4ver", 8}, {"never", 8}};
    for (const auto& [word, code] : words) {
        const TimeBoxSpec spec(7, word);
        EXPECT_EQ(spec.unit, code) << word;
        EXPECT_EQ(spec.count, 7U);
        EXPECT_EQ(tagsOf(spec), code == 8 ? "ERROR_TIMEBOXSPEC_1," : "") << word;
    }
    TimeBoxSpec beyond(1, "days");
    beyond.unit = 9; // behaves as invalid, but only 8 is objected to
    EXPECT_EQ(tagsOf(beyond), "");
    EXPECT_EQ(beyond.getDurationMillis(), 0U);
    EXPECT_EQ(beyond.getTimeBoxEnd(5), 0);
}

TEST(TimeBoxSpec, DurationsWrapIn32Bits) {
    const struct {
        std::uint32_t count;
        const char* unit;
        std::uint32_t millis;
    } rows[] = {{5, "milliseconds", 5},   {2, "seconds", 2000},
                {3, "minutes", 180000},   {49, "days", 4233600000},
                {50, "days", 25032704},   {1, "months", 2592000000},
                {2, "months", 889032704}, {1, "years", 1492828928},
                {50, "years", 553260544}, {1, "ever", 4294967295},
                {0, "ever", 4294967295},  {7, "fortnights", 0},
                {1U << 31, "seconds", 0}, {4294967295U, "milliseconds", 4294967295U}};
    for (const auto& row : rows) {
        EXPECT_EQ(TimeBoxSpec(row.count, row.unit).getDurationMillis(), row.millis)
            << row.count << ' ' << row.unit;
    }
}

TEST(TimeBoxSpec, CutsFixedBoxes) {
    const struct {
        std::uint32_t count;
        const char* unit;
        std::int64_t time, start, end;
    } rows[] = {
        {15, "minutes", 1000000000000, 999999900000, 1000000800000},
        {1, "seconds", 999, 0, 1000},
        {1, "seconds", 1000, 1000, 2000},
        {1, "seconds", -1, 0, 1000}, // truncates: the box above
        {1, "seconds", -1000, -1000, 0},
        {1, "seconds", -1001, -1000, 0},
        {50, "days", 25032704, 25032704, 50065408}, // wrapped length
        {0, "days", 123456, 0, 0},
        {1U << 31, "seconds", 123456, 0, 0}, // wraps to nothing
        {1, "milliseconds", kMax, kMax, kMin},
        {1, "milliseconds", kMin, kMin, kMin + 1},
        {1, "ever", kMin, 0, kMax},
        {0, "ever", kMax, 0, kMax},
        {1, "nonsense", 77, 0, 0},
        {0, "months", 77, 0, 0},
        {0, "years", 77, 0, 0},
    };
    for (const auto& row : rows) {
        const TimeBoxSpec spec(row.count, row.unit);
        EXPECT_EQ(spec.getTimeBoxStart(row.time), row.start) << row.unit << ' ' << row.time;
        EXPECT_EQ(spec.getTimeBoxEnd(row.time), row.end) << row.unit << ' ' << row.time;
    }
}

TEST(TimeBoxSpec, CutsCalendarBoxes) {
    const struct {
        std::uint32_t count;
        const char* unit;
        std::int64_t time, start, end;
    } rows[] = {
        {1, "months", 1615982400000, 1614556800000, 1617235200000}, // March 2021
        {5, "months", 1638835200000, 1635724800000, 1648771200000}, // carries into April 2022
        {10, "years", 1120000000000, 946684800000, 1262304000000},  // 2000 to 2010
        // 1899 is year -1 from 1900, grouped as the unsigned number it wraps to: 1894 to 1904
        {10, "years", -2209075200000, -2398291200000, -2082844800000},
        {1, "years", -2209075200000, -2240524800000, -2208988800000},
        {1, "months", -1, 0, 2678400000},                 // seconds truncate toward zero
        {1, "months", -1000, -2678400000, 0},             // December 1969
        {1U << 31, "months", 0, 0, -5647336533504000000}, // a negative month: long ago
    };
    for (const auto& row : rows) {
        const TimeBoxSpec spec(row.count, row.unit);
        EXPECT_EQ(spec.getTimeBoxStart(row.time), row.start) << row.count << row.unit << row.time;
        EXPECT_EQ(spec.getTimeBoxEnd(row.time), row.end) << row.count << row.unit << row.time;
    }
}

TEST(TimeBoxSpec, HoldsTheTimeAndIsDefinedForEveryInput) {
    std::mt19937_64 random(1);
    int plain = 0;
    for (int i = 0; i < 20000; ++i) {
        TimeBoxSpec spec;
        spec.count = static_cast<std::uint32_t>(random() >> (32 + random() % 32));
        spec.unit = static_cast<std::uint32_t>(random() % 10);
        const auto time = static_cast<std::int64_t>(random() >> (random() % 64));
        const std::int64_t start = spec.getTimeBoxStart(time);
        const std::int64_t end = spec.getTimeBoxEnd(time);
        if (spec.unit < 5 && spec.getDurationMillis() != 0 && time >= 0 && time < kMax / 2) {
            ASSERT_LE(start, time);
            ASSERT_LT(time, end);
            ++plain;
        }
    }
    EXPECT_GT(plain, 5000);
}

TEST(TimeBoxSpec, IsTheSameRemembered) {
    std::mt19937_64 random(2);
    qorvel_detail::TimeBoxMemo memo;
    TimeBoxSpec spec;
    std::uint64_t bits = 0;
    for (int i = 0; i < 50000; ++i) {
        if (random() % 16 == 0) {
            spec.count = static_cast<std::uint32_t>(random() % 14);
            spec.unit = static_cast<std::uint32_t>(random() % 9);
        }
        bits = random() % 8 == 0 ? random() >> (random() % 64)
                                 : bits + (random() >> (24 + random() % 40)) % 2000000000;
        const auto time = static_cast<std::int64_t>(bits);
        const auto near = static_cast<std::int64_t>(bits - random() % 1000);
        ASSERT_EQ(memo.start(spec, time), spec.getTimeBoxStart(time)) << spec.count << time;
        ASSERT_EQ(memo.startNear(spec, near), spec.getTimeBoxStart(near)) << spec.count << near;
        ASSERT_EQ(memo.endNear(spec, near), spec.getTimeBoxEnd(near)) << spec.count << near;
        ASSERT_EQ(memo.end(spec, time), spec.getTimeBoxEnd(time)) << spec.count << time;
    }
}

TEST(TimeBox, IsNeverEmpty) {
    EXPECT_EQ(TimeBox(5, 5), TimeBox(5, 6));
    EXPECT_EQ(TimeBox(5, 3), TimeBox(5, 6));
    EXPECT_EQ(TimeBox(5, 7).end, 7);
    EXPECT_EQ(TimeBox(kMax, kMax).end, kMin);
    EXPECT_EQ(TimeBox(), TimeBox(0, kMax));
}

TEST(SpaceTimeBoxSpec, ReportsOneFaultSpaceFirst) {
    EXPECT_EQ(tagsOf(SpaceTimeBoxSpec(SpaceBoxSpec(128), TimeBoxSpec(0, "days"))), "");
    EXPECT_EQ(tagsOf(SpaceTimeBoxSpec(SpaceBoxSpec(129), TimeBoxSpec(1, "x"))),
              "ERROR_SPACEBOXSPEC_1,");
    EXPECT_EQ(tagsOf(SpaceTimeBoxSpec(SpaceBoxSpec(0), TimeBoxSpec(1, "x"))),
              "ERROR_TIMEBOXSPEC_1,");
    EXPECT_EQ(SpaceTimeBoxSpec().geoHashBitDepth, 128U);
    EXPECT_EQ(SpaceTimeBoxSpec().unit, TimeBoxSpec::kEver);
}

TEST(SpaceTimeBox, HashKeepsTheLowHalvesAndEqualityIgnoresTheMaster) {
    const SpaceBox cell("u281z7j");
    const SpaceTimeBox box(cell, TimeBox(0x123456789LL, 0x2AAAABBBBLL));
    EXPECT_EQ(hash_SpaceTimeBox()(box), cell.hashCode() ^ 0x23456789AAAABBBBULL);
    std::unordered_set<ExtendedSTB, hash_SpaceTimeBox> set;
    set.insert(ExtendedSTB(1, cell, box));
    set.insert(ExtendedSTB(2, cell, box));
    set.insert(ExtendedSTB(2, cell, TimeBox(0x123456789LL, 0x2AAAABBBCLL)));
    EXPECT_EQ(set.size(), 2U);
    EXPECT_FALSE(box == SpaceTimeBox(SpaceBox("u281z7"), box));
}

TEST(STBAssignmentRow, ValidatesFieldByField) {
    const STBAssignmentRow valid(1, 2, 0.0, 1, 3, {SpaceBox()}, 90.0, -180.0, 0.0, 1.0, 0.0);
    using Change = std::function<void(STBAssignmentRow&)>;
    const std::pair<Change, const char*> rows[] = {
        {[](auto&) {}, ""},
        {[](auto& row) { row.spaceBoxes.clear(); }, ""},
        {[](auto& row) { row.maxSpaceTolerance = -1e-9; }, "ERROR_ASSIGN_1,"},
        {[](auto& row) { row.spaceToleranceFactor = -0.1; }, "ERROR_ASSIGN_2,"},
        {[](auto& row) { row.spaceToleranceFactor = 1.1; }, "ERROR_ASSIGN_2,"},
        {[](auto& row) { row.radius = -1.0; }, "ERROR_ASSIGN_3,"},
        {[](auto& row) { row.latitude = 90.5; }, "ERROR_ASSIGN_4,"},
        {[](auto& row) { row.latitude = -90.5; }, "ERROR_ASSIGN_4,"},
        {[](auto& row) { row.longitude = -180.5; }, "ERROR_ASSIGN_5,"},
        {[](auto& row) { row.longitude = 180.5; }, "ERROR_ASSIGN_5,"},
        {[](auto& row) { row.maxTimeTolerance = 2; }, "ERROR_ASSIGN_6,"},
        {[](auto& row) { row.timeToleranceFactor = -0.1; }, "ERROR_ASSIGN_7,"},
        {[](auto& row) { row.timeToleranceFactor = 1.1; }, "ERROR_ASSIGN_7,"},
        {[](auto& row) {
             row.spaceBoxes.assign({SpaceBox(UINT64_C(0), UINT64_C(0), 200U), SpaceBox("a")});
         },
         "ERROR_SPACEBOX_2,"},
        {[](auto& row) {
             row.spaceBoxes.assign({SpaceBox(), SpaceBox("a"), SpaceBox("o")});
         },
         "ERROR_SPACEBOX_1,ERROR_SPACEBOX_2,"},
        {[](auto& row) {
             row.maxSpaceTolerance = row.radius = row.longitude = kNaN;
             row.latitude = row.spaceToleranceFactor = row.timeToleranceFactor = kNaN;
         },
         ""},
        {[](auto& row) {
             row.maxSpaceTolerance = row.radius = row.spaceToleranceFactor = -1.0;
             row.timeToleranceFactor = row.latitude = row.longitude = 999.0;
             row.maxTimeTolerance = 9;
             row.spaceBoxes.push_back(SpaceBox(UINT64_C(1), UINT64_C(1), 129U));
         },
         "ERROR_ASSIGN_1,ERROR_ASSIGN_2,ERROR_ASSIGN_3,ERROR_ASSIGN_4,ERROR_ASSIGN_5,"
         "ERROR_ASSIGN_6,ERROR_ASSIGN_7,ERROR_SPACEBOX_2,"}};
    for (const auto& [change, tags] : rows) {
        STBAssignmentRow row = valid;
        change(row);
        EXPECT_EQ(tagsOf(row), tags);
    }
}

TEST(STBCompressionSpec, ComparesAllFieldsAndHashesTheWholeNumbers) {
    const STBCompressionSpec spec(1, 2, 4, 8, 16, 0.5);
    EXPECT_EQ(hash_STBCompressionSpec()(spec), 31U);
    EXPECT_EQ(hash_STBCompressionSpec()({3, 6, 12, 24, 17, 0.5}), 0U);
    const STBCompressionSpec others[] = {
        {0, 2, 4, 8, 16, 0.5}, {1, 0, 4, 8, 16, 0.5}, {1, 2, 0, 8, 16, 0.5}, {1, 2, 4, 0, 16, 0.5},
        {1, 2, 4, 8, 0, 0.5},  {1, 2, 4, 8, 16, 0.6}, {2, 1, 4, 8, 16, 0.5}};
    EXPECT_TRUE(spec == STBCompressionSpec(spec));
    for (const STBCompressionSpec& other : others) {
        EXPECT_FALSE(spec == other);
    }
    const STBCompressionSpec notANumber(1, 2, 4, 8, 16, kNaN);
    EXPECT_FALSE(notANumber == notANumber);
    const std::pair<double, bool> ratios[] = {{0.0, true},    {-0.0, true},       {1.0, true},
                                              {-1e-9, false}, {1.0000001, false}, {kNaN, false}};
    for (const auto& [ratio, valid] : ratios) {
        EXPECT_EQ(tagsOf(STBCompressionSpec(1, 2, 4, 8, 16, ratio)),
                  valid ? "" : "ERROR_COMPRESSIONSPEC_1,");
    }
}

TEST(Records, KeepWhatTheyAreGivenAndBeginEmpty) {
    const STBCompressedEvent event(1, {2}, 3, 4, 5, SpaceTimeBox({}, {6, 7}), 8, 9, 10, 11, 12, 13,
                                   14);
    EXPECT_TRUE(event.eid == 1 && event.eventSequenceNumbers.back() == 2 &&
                event.specPrimaryKeyId == 3 && event.eventSecondaryKeyId == 4 &&
                event.masterId == 5 && event.stb.end == 7 && event.firstTime == 8 &&
                event.endTime == 9 && event.lastTimeBefore == 10 && event.firstTimeAfter == 11 &&
                event.totalCount == 12 && event.beforeCount == 13 && event.afterCount == 14);
    const STBCompressedEvent none;
    EXPECT_EQ(none.firstTime + none.endTime + none.lastTimeBefore + none.firstTimeAfter, 0);
    EXPECT_TRUE(STBCompressionSpec() == STBCompressionSpec(0, 0, 0, 0, 0, 0.0));
    EXPECT_EQ(TimeBoxSpec().count, 1U);
}

TEST(Event, ValidatesClampsAndNumbers) {
    const struct {
        double latitude, longitude, tolerance;
        std::int64_t time;
        const char* tags;
    } rows[] = {
        {90.0, -180.0, 0.0, 0, ""},
        {-90.0, 180.0, 5.0, kMax, ""},
        {90.1, 0.0, 0.0, 0, "ERROR_EVENT_1,"},
        {kNaN, 0.0, 0.0, 0, "ERROR_EVENT_1,"},
        {0.0, -180.1, 0.0, 0, "ERROR_EVENT_2,"},
        {0.0, 180.1, 0.0, 0, "ERROR_EVENT_2,"},
        {0.0, 0.0, 0.0, -1, "ERROR_EVENT_3,"},
        {0.0, 0.0, -5.0, 0, ""},
        {0.0, 0.0, kNaN, 0, "ERROR_EVENT_4,"},
        {-91.0, kNaN, kNaN, kMin, "ERROR_EVENT_1,ERROR_EVENT_2,ERROR_EVENT_3,ERROR_EVENT_4,"}};
    std::uint64_t next = Event(0, 0, 0, 0, 0, 0, 0, 0).sequenceNumber + 1;
    for (const auto& row : rows) {
        const Event event(1, 2, 3, row.latitude, row.longitude, row.tolerance, row.time, 4);
        EXPECT_EQ(tagsOf(event), row.tags);
        EXPECT_EQ(event.sequenceNumber, next++);
        EXPECT_FALSE(event.spaceTolerance < 0.0);
    }
    Event unclamped; // draws no number
    unclamped.spaceTolerance = -0.0;
    EXPECT_FALSE(std::signbit(Event(unclamped).spaceTolerance));
    unclamped.spaceTolerance = -3.0;
    Event assigned(9, 9, 9, 9, 9, 9, 9, 9);
    assigned = unclamped;
    const Event& itself = assigned;
    assigned = itself;
    EXPECT_EQ(assigned.spaceTolerance, 0.0);
    EXPECT_EQ(assigned.sequenceNumber, 0U);
    const Event copy(Event(0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(copy.sequenceNumber, next + 1) << "one number for each full construction";
}

TEST(NameRegistries, NumberDenselyAndIndependently) {
    const auto expectDense = [](auto number, const char* registry) {
        const auto first = number("model_test a");
        EXPECT_EQ(number("model_test b"), first + 1) << registry;
        EXPECT_EQ(number(""), first + 2) << registry;
        EXPECT_EQ(number("model_test a "), first + 3) << registry;
        EXPECT_EQ(number("model_test a"), first) << registry;
        for (int i = 0; i < 1000; ++i) {
            ASSERT_EQ(number("name " + std::to_string(i)),
                      first + 4 + static_cast<decltype(first)>(i));
        }
    };
    expectDense(&PrimaryKey::getPrimaryKeyInt, "primary");
    expectDense(&SecondaryKey::getSecondaryKeyInt, "secondary");
    expectDense(&MasterName::getMasterNameInt, "master");
    expectDense(&EIDName::getEIDNameInt, "entity");
    EXPECT_EQ(EIDName::getEIDNameStr(EIDName::getEIDNameInt("name 77")), "name 77");
    EXPECT_EQ(EIDName::getEIDNameStr(1U << 30), "");
    EXPECT_EQ(EIDName::getEIDNameStr(UINT64_C(1) << 32), ""); // also where a size has 32 bits
    EXPECT_EQ(EIDName::getEIDNameStr(UINT64_MAX), "");
}

} // namespace
