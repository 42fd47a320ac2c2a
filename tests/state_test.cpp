// States: refused in one word whatever is wrong with them, and read for ever.

#include "testing/support/forgedState.h"

#include "qorvel/base/StateFrame.h"
#include "qorvel/qorvel.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>

namespace {

using API = QorvelMotionProcessorAPI;
using qorvel_detail::StateNeed;
using qorvel_detail::stateTag;
using qorvel_detail::StateWriter;

constexpr std::int64_t kMinute = 60000;

std::string contentOf(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

/// The file as the release that wrote it did; QORVEL_WRITE_STATES writes those that are not there.
std::string golden(const std::string& name, const std::string& state) {
    const std::string file = std::string(QORVEL_STATES) + '/' + name;
    if (std::getenv("QORVEL_WRITE_STATES") != nullptr && contentOf(file).empty()) {
        std::ofstream(file, std::ios::binary) << state;
    }
    return contentOf(file);
}

template <class Side>
std::string stateOf(const Side& side) {
    std::ostringstream out;
    EXPECT_TRUE(saveState(side, out));
    return out.str();
}

template <class Side>
std::string faultOf(Side& side, const std::string& state) {
    std::stringstream in(state);
    std::stringstream errors;
    const bool isTaken = loadState(side, in, errors);
    EXPECT_EQ(isTaken, errors.str().empty());
    return errors.str();
}

MotionProcessor makeProcessor(std::uint32_t minCount = 2, double ratio = 0.0) {
    std::stringstream errors;
    STBMasterRow master;
    STBAssignmentRow row;
    STBCompressionSpec spec;
    MotionProcessor processor;
    EXPECT_EQ(API::createSTBMasterRow("town", 6, 1, "hours", master, errors), 0);
    EXPECT_EQ(API::createSTBAssignmentRow("car", "", 100.0, 1, "town", {}, 0, 0, 3e7, 1.0, 1.0, row,
                                          errors),
              0);
    EXPECT_EQ(API::createHangoutSpec("car", "", "town", 20, "minutes", minCount, 0.0, spec, errors),
              0);
    EXPECT_EQ(API::createMotionProcessorForHangouts({master}, {row}, {spec}, processor, errors), 0);
    spec.ratio = ratio;
    return ratio == 0.0 ? processor : MotionProcessor({master}, {row}, {spec});
}

/// What an hour finds: who, and with how many events.
std::vector<std::string> hour(MotionProcessor& processor, std::int64_t from) {
    std::vector<std::string> found;
    for (std::int64_t minute = from; minute < from + 60; minute += 7) {
        for (const char* const name : {"ann", "", "b\xC3\xA9la"}) {
            std::stringstream errors;
            Event event;
            std::list<STBCompressedEvent> records;
            EXPECT_EQ(API::createEvent("car", name, "", 48.0, 11.0, 10.0, minute * kMinute, 0,
                                       event, errors),
                      0);
            API::processEventForHangouts(event, processor, records, errors);
            for (const STBCompressedEvent& record : records) {
                found.push_back(EIDName::getEIDNameStr(record.eid) + ' ' +
                                record.stb.toASCIIString() +
                                std::to_string(record.eventSequenceNumbers.size()));
            }
        }
    }
    return found;
}

/// A state whose frame is right, of any content.
std::string framed(const char (&kind)[5], std::uint64_t fingerprint,
                   const std::function<void(StateWriter&)>& write) {
    StateWriter out;
    out.begin(stateTag(kind), fingerprint);
    write(out);
    return out.finish();
}

TEST(State, IsReadForEverAndMeansTheSameUnderOtherNumbers) {
    const bool isWriting = std::getenv("QORVEL_WRITE_STATES") != nullptr;
    for (int i = 0; i < (isWriting ? 0 : 5); ++i) { // other numbers than when it was written
        EIDName::getEIDNameInt(std::to_string(i));
        PrimaryKey::getPrimaryKeyInt(std::to_string(i));
        MasterName::getMasterNameInt(std::to_string(i));
    }
    MotionProcessor whole = makeProcessor();
    EXPECT_FALSE(hour(whole, 30).empty());
    const std::string state = golden("processor-1.state", stateOf(whole));
    MotionProcessor loaded = makeProcessor();
    ASSERT_EQ(faultOf(loaded, state), "");
    EXPECT_EQ(loaded.getItemCount(), whole.getItemCount());
    EXPECT_EQ(hour(loaded, 90), hour(whole, 90));
    EXPECT_EQ(loaded.getRecentHangoutCount(), whole.getRecentHangoutCount());
}

TEST(State, IsRefusedInOneWordWhateverIsWrong) {
    MotionProcessor processor = makeProcessor();
    hour(processor, 30);
    const std::string state = stateOf(processor);
    const auto expectUnchanged = [&](const std::string& bytes, const std::string& tag) {
        EXPECT_EQ(faultOf(processor, bytes), tag);
        EXPECT_EQ(stateOf(processor), state);
    };
    for (std::size_t i = 0; i < state.size(); ++i) {
        std::string flipped = state;
        flipped[i] = static_cast<char>(flipped[i] ^ 1 << i % 8);
        expectUnchanged(flipped, i < 8 ? "ERROR_STATE_1," : "ERROR_STATE_4,");
        expectUnchanged(state.substr(0, i), "ERROR_STATE_3,");
    }
    const auto empty = [](StateWriter& out) {
        out.beginSection(stateTag("ENTS"), StateNeed::critical);
        out.u64(0);
        out.endSection();
    };
    const auto twice = [&](StateWriter& out) {
        empty(out);
        empty(out);
    };
    std::string newer = framed("HANG", 0, empty);
    newer[10] = 2;
    seal(newer, 0, 32);
    expectUnchanged(newer, "ERROR_STATE_2,");
    expectUnchanged(stateOf(HangoutDetector()), "ERROR_STATE_5,");
    expectUnchanged(stateOf(makeProcessor(3)), "ERROR_STATE_6,");

    EXPECT_EQ(faultOf(processor, forged(state, 36 + 20, "\7", false)), "ERROR_STATE_4,");
    std::string tooShort = state; // for what a state has at least
    tooShort.replace(16, 2, std::string("\x1E\0", 2));
    seal(tooShort, 0, 32);
    expectUnchanged(tooShort, "ERROR_STATE_4,");

    HangoutDetector detector;
    const auto section = [&](StateNeed need) {
        return framed("HANG", 0, [&](StateWriter& out) {
            empty(out);
            out.beginSection(stateTag("WHAT"), need);
            out.endSection();
        });
    };
    EXPECT_EQ(faultOf(detector, section(StateNeed::critical)), "ERROR_STATE_7,");
    EXPECT_EQ(faultOf(detector, section(StateNeed::optional)), "");
    EXPECT_EQ(faultOf(detector, framed("HANG", 0, twice)), "ERROR_STATE_4,");
    EXPECT_EQ(faultOf(detector, framed("HANG", 0, [](StateWriter&) {})), "ERROR_STATE_4,");

    // Whatever a right frame holds: no count makes room for more than there is.
    using Write = void (*)(StateWriter&);
    const auto addEntity = [](StateWriter& out, std::uint64_t number, Write write) {
        out.u8(0);
        out.u64(number);
        const std::size_t begin = out.beginLength();
        write(out);
        out.endLength(begin);
    };
    const auto faultOfEntities = [&](const std::function<void(StateWriter&)>& write) {
        return faultOf(detector, framed("HANG", 0, [&](StateWriter& out) {
                           out.beginSection(stateTag("ENTS"), StateNeed::critical);
                           write(out);
                           out.endSection();
                       }));
    };
    const Write cells[] = {[](StateWriter& out) { out.u8(4); }, // of what nobody knows
                           [](StateWriter& out) {
                               out.u8(1);
                               out.u64(1ULL << 60);
                           },                     // cells
                           [](StateWriter& out) { // a cell with bits beyond its depth
                               out.u8(1);
                               out.u64(1);
                               out.u64(1);
                               out.u64(0);
                               out.u32(35);
                               out.u64(0);
                           },
                           [](StateWriter& out) { // items
                               out.u8(1);
                               out.u64(1);
                               out.u64(0);
                               out.u64(0);
                               out.u32(35);
                               out.u64(UINT64_MAX / 20);
                           }};
    const Write place = [](StateWriter& out) {
        out.u8(2);
        out.f64(48.0);
        out.f64(11.0);
    };
    const auto faultOfTwo = [&](std::uint64_t number, Write write) {
        return faultOfEntities([&](StateWriter& out) {
            out.u64(2);
            addEntity(out, 7, write);
            addEntity(out, number, place);
        });
    };
    for (const Write write : cells) {
        EXPECT_EQ(faultOfTwo(8, write), "ERROR_STATE_4,");
    }
    EXPECT_EQ(faultOfTwo(8, place), "");
    EXPECT_EQ(faultOfTwo(7, place), "ERROR_STATE_4,"); // the same one twice
    const auto longName = [](StateWriter& out) {
        out.u64(1);
        out.u8(1);
        out.u64(9);
        out.u64(0);
    };
    EXPECT_EQ(faultOfEntities(longName), "ERROR_STATE_4,");
    EXPECT_EQ(qorvel_detail::crc32("123456789"), 0xCBF43926U); // as the world has it
}

TEST(State, IsTakenOrRefusedWholeWhereCheckSumsAreRight) {
    MotionProcessor processor = makeProcessor();
    hour(processor, 30);
    std::list<STBCompressedEvent> foreign; // a host's own records, of keys that no spec has
    const auto tram = std::uint32_t(PrimaryKey::getPrimaryKeyInt("tram"));
    const auto bus = std::uint32_t(PrimaryKey::getPrimaryKeyInt("bus"));
    for (const std::uint64_t eid : {std::uint64_t{0}, UINT64_MAX, UINT64_MAX / 2}) { // of no name
        for (const std::uint32_t key : {tram, bus, 4000000000U, 3000000000U}) {
            foreign.emplace_back().specPrimaryKeyId = key;
            foreign.back().eid = eid;
        }
    }
    std::stringstream errors;
    Event event;
    API::createEvent("car", "", "", 48.0, 11.0, 10.0, 90 * kMinute, 0, event, errors);
    API::processEventForHangouts(event, processor, foreign, errors);
    const std::string state = stateOf(processor);
    MotionProcessor same = makeProcessor();
    EXPECT_EQ(faultOf(same, state), "");
    EXPECT_EQ(stateOf(same), state);

    // A spec that equals nothing has a new detector for every event, and all of them are kept.
    MotionProcessor lost = makeProcessor(2, std::nan(""));
    hour(lost, 30);
    MotionProcessor found = makeProcessor(2, std::nan(""));
    EXPECT_EQ(faultOf(found, stateOf(lost)), "");
    EXPECT_EQ(stateOf(found), stateOf(lost));
    EXPECT_EQ(hour(found, 90), hour(lost, 90));
    const std::size_t firstFlag = 36 + 16 + 8; // of those that say which detectors there are
    EXPECT_EQ(faultOf(found, forged(stateOf(lost), firstFlag, "\2")), "ERROR_STATE_4,");

    // What leads to no spec is a detector that was made, and each is told once.
    struct Row {
        std::vector<std::uint8_t> made;
        std::vector<std::uint32_t> told;
        const char* fault;
    };
    const std::uint64_t fingerprint =
        qorvel_detail::StateReader(std::string_view(state).substr(24)).u64();
    for (const Row& row : {Row{{1}, {0}, ""},
                           {{1, 1}, {0, 1}, ""},
                           {{1, 0}, {0}, "ERROR_STATE_4,"},
                           {{1, 1}, {1, 0}, "ERROR_STATE_4,"},
                           {{1}, {0, 0}, "ERROR_STATE_4,"},
                           {{1}, {1}, "ERROR_STATE_4,"}}) {
        const std::string forgedOne = framed("PROC", fingerprint, [&](StateWriter& out) {
            out.beginSection(stateTag("DETE"), StateNeed::critical);
            out.u64(row.made.size());
            for (const std::uint8_t flag : row.made) {
                out.u8(flag);
            }
            out.endSection();
            out.beginSection(stateTag("ENTS"), StateNeed::critical);
            out.u64(1);
            out.u8(0);
            out.u64(7);
            const std::size_t begin = out.beginLength();
            out.u64(row.told.size());
            for (const std::uint32_t number : row.told) {
                out.u32(number);
                out.u8(2);
                out.f64(48.0);
                out.f64(11.0);
            }
            out.u64(0);
            out.endLength(begin);
            out.endSection();
        });
        EXPECT_EQ(faultOf(same, forgedOne), row.fault) << row.made.size() << ' ' << row.told.size();
    }

    std::size_t taken = 0;
    for (std::size_t at = 36; at < state.size() - 4; ++at) {
        for (const char byte : {'\0', '\3', '\x7F', '\xFF'}) {
            MotionProcessor other = makeProcessor();
            const std::string before = stateOf(other);
            const std::string fault = faultOf(other, forged(state, at, std::string(1, byte)));
            if (!fault.empty()) {
                EXPECT_TRUE(fault == "ERROR_STATE_4," || fault == "ERROR_STATE_7,") << fault << at;
                EXPECT_EQ(stateOf(other), before);
                continue;
            }
            ++taken;
            hour(other, 90);
            EXPECT_EQ(faultOf(same, stateOf(other)), "");
        }
    }
    EXPECT_GT(taken, 0U);
}

} // namespace
