// Sessions: whatever the batches, threads, forms of columns and results, what comes out is the
// same, and nothing is lost when something fails.

#include "engine/columns/ArrowOwner.h"
#include "engine/columns/Fault.h"
#include "engine/columns/ObservationSchema.h"
#include "engine/qorvel_engine.h"
#include "engine/run/Checkpoint.h"
#include "engine/run/Session.h"
#include "engine/run/advice.h"
#include "testing/support/RowStream.h"
#include "testing/support/SessionWay.h"
#include "testing/support/counted.h"
#include "testing/support/forgedState.h"
#include "testing/support/wantedEvents.h"

#include "qorvel/qorvel.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <new>
#include <random>
#include <regex>
#include <set>
#include <sstream>
#include <thread>
#include <utility>

namespace {

/// Allocations left, on all threads together, until one fails; negative: none fails.
std::atomic<int> allocationsLeft = -1;

[[gnu::noinline]] void* allocate(std::size_t size, std::size_t alignment) {
    int left = allocationsLeft;
    while (left >= 0 && !allocationsLeft.compare_exchange_weak(left, left - 1)) {
    }
    const bool fails = left == 0; // at most one of all threads, and none once it is taken back
    const std::size_t rounded = (size / alignment + 1) * alignment;
    void* const memory = fails ? nullptr : std::aligned_alloc(alignment, rounded);
    return memory != nullptr ? memory : throw std::bad_alloc();
}

} // namespace

// Those of engine and library come here too. Not inlined: g++ 12 then sees free() beside new or so.
// clang-format off
void* operator new(std::size_t size) { return allocate(size, alignof(std::max_align_t)); }
void* operator new[](std::size_t size) { return allocate(size, alignof(std::max_align_t)); }
// The sanitizer has those of its own, which would not call the first.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept try {
    return allocate(size, alignof(std::max_align_t));
} catch (const std::bad_alloc&) {
    return nullptr;
}
void* operator new[](std::size_t size, const std::nothrow_t& none) noexcept { return operator new(size, none); }
void* operator new(std::size_t size, std::align_val_t to) { return allocate(size, static_cast<std::size_t>(to)); }
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
// clang-format on

namespace {

using namespace qorvel_engine;
using Lines = std::vector<std::string>;

// ---- What a session makes of them ----

std::string linesOf(const ResultBatch& results) {
    std::string lines = results.text;
    for (std::size_t row = 0; row < results.table.size(); ++row) {
        LineRenderer().append(lines, results.table, row);
    }
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), results.size);
    return lines;
}

void takeAll(Session& session, std::string& lines) {
    while (const std::optional<ResultBatch> results = session.take()) {
        lines += linesOf(*results);
    }
}

/// All results, a line each. Bad rows and figures are as they have to be, columns are let go in
/// time and by the thread that pushed them, and with one thread results come at once.
std::string run(const RowStream& stream, const Way& way) {
    Session session(askedIn(way), readConfigText(kConfig), optionsOf(way));
    std::vector<std::int64_t> oldest(stream.size() + 1, std::numeric_limits<std::int64_t>::max());
    for (std::size_t i = stream.size(); i-- > 0;) {
        const bool isGood = stream[i].reason == RowReason::none;
        oldest[i] = isGood ? std::min(oldest[i + 1], stream[i].time) : oldest[i + 1];
    }
    std::string lines;
    std::size_t live = 0;
    for (std::size_t from = 0; from < stream.size(); from += way.rowsPerPush) {
        const std::size_t count = std::min(way.rowsPerPush, stream.size() - from);
        const std::shared_ptr<RowColumns> columns(
            new RowColumns(RowStream(stream.begin() + static_cast<std::ptrdiff_t>(from),
                                     stream.begin() + static_cast<std::ptrdiff_t>(from + count)),
                           way.kind),
            [&live, pusher = std::this_thread::get_id()](const RowColumns* gone) {
                EXPECT_EQ(std::this_thread::get_id(), pusher);
                --live;
                delete gone;
            });
        ++live;
        session.push(columns->slice(0, count), columns,
                     way.isOldestKnown ? std::optional(oldest[from + count]) : std::nullopt);
        takeAll(session, lines);
        EXPECT_TRUE(way.threads > 1 ||
                    session.figures().processed + session.figures().rejected == from + count);
    }
    session.flush();
    EXPECT_EQ(live, 0U);
    session.finish();
    takeAll(session, lines);

    Lines expected;
    for (std::size_t i = 0; i < stream.size(); ++i) {
        if (stream[i].reason != RowReason::none) {
            expected.push_back(std::to_string(i) + reasonText(stream[i].reason));
        }
    }
    Lines rejects;
    for (const Reject& reject : session.takeRejects()) {
        rejects.push_back(std::to_string(reject.row) + reasonText(reject.reason));
    }
    EXPECT_EQ(rejects, expected);
    const RunFigures figures = session.figures();
    EXPECT_EQ(figures.pushed, stream.size());
    EXPECT_EQ(figures.processed, stream.size() - rejects.size());
    EXPECT_EQ(figures.rejected, rejects.size());
    EXPECT_EQ(figures.late, 0U);
    EXPECT_EQ(figures.results, std::count(lines.begin(), lines.end(), '\n'));
    return lines;
}

std::multiset<std::string> sorted(const std::string& lines) {
    std::multiset<std::string> set;
    for (std::size_t begin = 0; begin < lines.size();) {
        const std::size_t end = lines.find('\n', begin);
        set.insert(lines.substr(begin, end - begin));
        begin = end + 1;
    }
    return set;
}

void expectTheSame(const RowStream& stream) {
    for (const Way& question : savedWays()) {
        const std::string model = run(stream, question);
        EXPECT_GT(model.size(), 500U);
        Way patient = question;
        patient.late = kEver;
        const std::string last = run(stream, patient);
        EXPECT_EQ(sorted(last), sorted(model));
        int count = 0;
        for (const std::size_t rowsPerPush :
             {std::size_t{1}, std::size_t{7}, std::size_t{1000}, stream.size()}) {
            for (const unsigned threads : {1U, 2U, 5U}) {
                Way way = question;
                way.rowsPerPush = rowsPerPush;
                way.threads = threads;
                way.kind = count % 2 == 0 ? EntityKind::int64 : EntityKind::text;
                way.renderer = count % 3 == 0 ? std::make_shared<LineRenderer>() : nullptr;
                way.late =
                    count % 4 == 0 ? std::nullopt : std::optional(count % 4 == 1 ? kEver : kHour);
                way.isOldestKnown = count % 4 == 0;
                way.forgetsReported = count % 3 == 1;
                // A stay comes when it is final, and in that order when it comes by itself.
                EXPECT_EQ(run(stream, way), way.late == kHour ? model : last)
                    << static_cast<int>(way.question) << ", " << rowsPerPush << " rows a push, "
                    << threads << " threads, " << count;
                ++count;
            }
        }
    }
}

TEST(Session, FindsTheSameInAllBatchesThreadsAndForms) {
    constexpr std::uint64_t kRows = 2500;
    std::uint64_t seed = 1;
    do {
        SCOPED_TRACE(seed);
        expectTheSame(makeRowStream(seed, kRows));
    } while (++seed * kRows <= wantedEvents(0));
}

TEST(Session, FindsTheSameAsSeveralWithSomeEntitiesEachOnThreadsOfTheirOwn) {
    const RowStream stream = makeRowStream(2, 2000);
    RowStream parts[2];
    for (const StreamRow& row : stream) {
        parts[std::stoi(row.entity) % 2].push_back(row);
    }
    for (Way way : savedWays()) {
        way.rowsPerPush = 300;
        way.threads = 2;
        std::string found[2];
        {
            const std::jthread other([&] { found[1] = run(parts[1], way); });
            found[0] = run(parts[0], way);
        }
        if (way.question != Question::encounters && !tellsRows(way)) {
            EXPECT_EQ(sorted(found[0] + found[1]), sorted(run(stream, way)));
        }
    }
}

// ---- States ----

constexpr std::size_t kStateRows = 1500;

void push(Session& session, const RowStream& rows, std::string& lines) {
    const RowColumns columns(rows, EntityKind::text);
    session.push(columns.slice(0, rows.size()));
    session.flush();
    takeAll(session, lines);
    session.takeRejects();
}

RowStream part(const RowStream& stream, std::size_t from, std::size_t to) {
    return {stream.begin() + static_cast<std::ptrdiff_t>(from),
            stream.begin() + static_cast<std::ptrdiff_t>(std::min(to, stream.size()))};
}

std::string finish(Session& session, std::string lines) {
    session.finish();
    takeAll(session, lines);
    return lines;
}

void expectToGoOnElsewhere(std::uint64_t seed) {
    const RowStream stream = makeRowStream(seed, kStateRows);
    for (const Way& way : savedWays()) {
        const bool remembers = !way.lastFigures && (way.question == Question::presence ||
                                                    way.question == Question::hangouts);
        std::mt19937_64 chance(seed);
        std::string ignored;
        std::string lines;
        const auto whole = open(way, 1);
        auto session = open(way, 1);
        for (std::size_t from = 0, to = 0; from < stream.size(); from = to) {
            to = std::min(stream.size(), from + 1 + chance() % (stream.size() / 8));
            push(*whole, part(stream, from, to), ignored);
            push(*session, part(stream, from, to), lines);
            const std::string state = session->save();
            session = open(way, 1 + static_cast<unsigned>(chance() % 3));
            session->load(state);
            ASSERT_TRUE(session->save() == state); // canonical, whatever the number of threads
            ASSERT_TRUE(whole->save() == state);
            // No row to come is older than that, so nothing can come again.
            const auto oldest = (70 + 2 * static_cast<std::int64_t>(to)) * kStreamMinute;
            if (to == stream.size() || chance() % 2 == 0) {
                session->forgetReportedBefore(oldest);
                whole->forgetReportedBefore(oldest);
                EXPECT_TRUE(remembers || session->save() == state);
            }
        }
        EXPECT_TRUE(finish(*session, lines) == run(stream, way)); // where nothing was forgotten
        whole->finish();
        EXPECT_EQ(session->remarks().size(), whole->remarks().size());
        EXPECT_EQ(session->figures().results, whole->figures().results);
    }
}

TEST(Session, GoesOnFromItsStateElsewhere) {
    std::uint64_t seed = 1;
    do {
        SCOPED_TRACE(seed);
        expectToGoOnElsewhere(seed);
    } while (++seed * kStateRows <= wantedEvents(0) && !HasFailure());
}

TEST(Session, RemembersAndSavesOnlyWhatIsUnderWay) {
    const RowStream stream = makeRowStream(6, 4500);
    for (Way way : {Way{Question::presence}, Way{Question::hangouts}}) {
        std::size_t sizes[3];
        std::string lines;
        way.forgetsReported = true;
        const auto session = open(way, 2);
        for (std::size_t i = 0; i < 3; ++i) {
            push(*session, part(stream, 1500 * i, 1500 * (i + 1)), lines);
            sizes[i] = session->save().size();
        }
        EXPECT_LT(2 * sizes[2], 3 * sizes[0]);
        way.forgetsReported = false;
        const auto other = open(way, 2);
        std::string expected;
        push(*other, stream, expected);
        EXPECT_GT(other->save().size(), 2 * sizes[2]);
        EXPECT_TRUE(lines == expected);
    }
}

TEST(Session, ForgetsNothingThatIsFoundAgain) {
    RowStream stream = makeRowStream(8, 1500);
    std::erase_if(stream, [](const auto& row) { return row.reason != RowReason::none; });
    std::stable_sort(stream.begin(), stream.end(),
                     [](const auto& a, const auto& b) { return a.time < b.time; });
    std::string endless = kConfig; // of boxes that none comes after
    endless.replace(endless.find("1 hours"), 7, "ever");
    for (const std::string& config : {std::string(kConfig), endless}) {
        for (const Way& way : {Way{Question::presence}, Way{Question::hangouts}}) {
            std::string lines[2];
            for (const bool forgets : {false, true}) {
                Session session(askedIn(way), readConfigText(config), optionsOf(way));
                std::string& found = lines[forgets ? 1 : 0];
                for (std::size_t i = 0; i < stream.size(); ++i) {
                    push(session, part(stream, i, i + 1), found);
                    if (forgets) {
                        session.forgetReportedBefore(stream[i].time);
                    }
                }
                found = finish(session, found);
            }
            EXPECT_TRUE(!lines[0].empty() && lines[0] == lines[1]);
        }
    }
}

/// QORVEL_WRITE_STATES writes the file where it is not there.
TEST(Checkpoint, ComesBackOrIsRefused) {
    const Checkpoint kept{{{"a", {1, 2}}, {"b", {}}}, {{"", {"x", ""}}}, "state"};
    const std::string bytes = kept.save();
    const std::string file = QORVEL_STATES "/checkpoint-1.state";
    if (std::getenv("QORVEL_WRITE_STATES") != nullptr && !std::ifstream(file)) {
        std::ofstream(file, std::ios::binary) << bytes;
    }
    std::stringstream released;
    released << std::ifstream(file, std::ios::binary).rdbuf();
    EXPECT_TRUE(released.str() == bytes);
    const Checkpoint back = Checkpoint::load(bytes);
    EXPECT_TRUE(back.numbers == kept.numbers && back.texts == kept.texts &&
                back.session == kept.session && back.save() == bytes);
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        std::string wrong = bytes;
        wrong[at] = static_cast<char>(wrong[at] ^ 4);
        for (const std::string& bad : {wrong, bytes.substr(0, at)}) {
            EXPECT_EQ(codeOf([&] { Checkpoint::load(bad); }), QORVEL_ENGINE_BAD_STATE);
        }
    }
}

TEST(Session, HandsEntitiesOver) {
    const RowStream stream = makeRowStream(8, kStateRows);
    RowStream rest[2];
    for (const StreamRow& row : part(stream, stream.size() / 2, stream.size())) {
        rest[std::stoi(row.entity) % 2].push_back(row);
    }
    for (const Way& way : savedWays()) {
        std::string lines;
        const auto from = open(way, 2);
        push(*from, part(stream, 0, stream.size() / 2), lines);
        if (way.question == Question::encounters) {
            EXPECT_EQ(codeOf([&] { from->takeEntities({"1"}); }), QORVEL_ENGINE_MISUSE);
            continue;
        }
        const std::string state = from->takeEntities({"9", "1", "3", "7", "5"});
        const auto to = open(way, 3);
        to->giveEntities(state);
        EXPECT_TRUE(to->takeEntities({"1", "3", "5", "7", "9"}) == state);
        EXPECT_EQ(to->entitiesRemembered(), 0U);
        to->giveEntities(state);
        EXPECT_EQ(to->entitiesRemembered(), way.question == Question::boxes ? 0U : 5U);
        EXPECT_EQ(codeOf([&] { to->giveEntities(state); }),
                  way.question == Question::boxes ? 0 : QORVEL_ENGINE_MISUSE);
        EXPECT_EQ(codeOf([&] { to->takeEntities({"1", "nobody"}); }), QORVEL_ENGINE_MISUSE);
        push(*from, rest[0], lines);
        push(*to, rest[1], lines);
        lines = finish(*to, finish(*from, lines));
        std::string expected;
        const auto whole = open(way, 1);
        push(*whole, stream, expected);
        expected = finish(*whole, expected);
        EXPECT_TRUE(sorted(lines) == sorted(expected) || tellsRows(way));
    }
}

/// The file as the release that wrote it did; QORVEL_WRITE_STATES writes those that are not there.
TEST(Session, ReadsTheStatesOfAllReleases) {
    const RowStream stream = makeRowStream(9, 300);
    for (std::size_t i = 0; i < savedWays().size(); ++i) {
        const std::string file =
            std::string(QORVEL_STATES) + "/session-" + std::to_string(i) + "-1.state";
        std::string before;
        std::string expected;
        std::string lines;
        const auto whole = open(savedWays()[i], 1);
        push(*whole, part(stream, 0, 200), before);
        if (std::getenv("QORVEL_WRITE_STATES") != nullptr && !std::ifstream(file)) {
            std::ofstream(file, std::ios::binary) << whole->save();
        }
        std::stringstream state;
        state << std::ifstream(file, std::ios::binary).rdbuf();
        const auto session = open(savedWays()[i], 2);
        session->load(state.str());
        EXPECT_TRUE(session->save() == state.str());
        push(*whole, part(stream, 200, 300), expected);
        push(*session, part(stream, 200, 300), lines);
        lines = finish(*session, lines);
        expected = finish(*whole, expected);
        const Way& way = savedWays()[i];
        if (way.lastFigures && needsConfiguration(way.question)) { // given at the end alone then
            EXPECT_EQ(sorted(lines), sorted(before + expected)) << i;
        } else {
            EXPECT_TRUE(lines == expected) << i;
        }
    }
}

TEST(Session, RefusesAStateAndGoesOnAsBefore) {
    for (const Way& way : savedWays()) {
        std::string lines;
        const auto source = open(way, 1);
        push(*source, makeRowStream(4, 60), lines);
        const std::string state = source->save();
        const auto session = open(way, 2);
        const std::string empty = session->save();
        std::mt19937_64 chance(5);
        for (int i = 0; i < 100; ++i) {
            std::string wrong = state;
            const std::size_t at = chance() % state.size();
            wrong[at] = static_cast<char>(wrong[at] ^ 1 << chance() % 8);
            const std::string cut = state.substr(0, at);
            for (const std::string& bytes : {wrong, cut}) {
                EXPECT_EQ(codeOf([&] { session->load(bytes); }), QORVEL_ENGINE_BAD_STATE);
                EXPECT_EQ(codeOf([&] { session->giveEntities(bytes); }),
                          way.question == Question::encounters ? QORVEL_ENGINE_MISUSE
                                                               : QORVEL_ENGINE_BAD_STATE);
            }
        }
        EXPECT_TRUE(session->save() == empty);
        Way other = way;
        other.late = 2 * kHour;
        EXPECT_EQ(codeOf([&] { open(other, 1)->load(state); }), QORVEL_ENGINE_BAD_STATE);
        if (way.question == Question::encounters) {
            other = way;
            other.fixesOnly = !way.fixesOnly;
            EXPECT_EQ(codeOf([&] { open(other, 1)->load(state); }), QORVEL_ENGINE_BAD_STATE);
        }
        EXPECT_EQ(codeOf([&] { source->load(state); }), QORVEL_ENGINE_MISUSE);
        const RowColumns more(makeRowStream(4, 600), EntityKind::text);
        source->push(more.slice(0, 600));
        EXPECT_EQ(codeOf([&] { source->save(); }), QORVEL_ENGINE_MISUSE); // rejects, at least
        session->load(state);
        EXPECT_TRUE(session->save() == state);
    }
    for (const char* const text : {"", "QRVL", "no state of anybody's"}) {
        qorvel_engine_session* session = nullptr;
        ASSERT_EQ(qorvel_engine_open("stays", "", nullptr, &session), 0);
        EXPECT_EQ(qorvel_engine_load(session, text, std::strlen(text)), QORVEL_ENGINE_BAD_STATE);
        const void* bytes = nullptr;
        std::uint64_t size = 0;
        EXPECT_EQ(qorvel_engine_save(session, nullptr, &size), QORVEL_ENGINE_MISUSE);
        ASSERT_EQ(qorvel_engine_save(session, &bytes, &size), 0);
        EXPECT_EQ(qorvel_engine_load(session, bytes, size), 0);
        const char* const nobody = "nobody";
        EXPECT_EQ(qorvel_engine_take_entities(session, &nobody, 1, &bytes, &size),
                  QORVEL_ENGINE_MISUSE);
        ASSERT_EQ(qorvel_engine_take_entities(session, nullptr, 0, &bytes, &size), 0);
        EXPECT_EQ(qorvel_engine_give_entities(session, bytes, size), 0);
        EXPECT_EQ(qorvel_engine_forget_reported_before(session, 0), 0);
        qorvel_engine_close(session);
    }
}

TEST(Session, TakesOrRefusesWholeWhatIsForged) {
    const std::string values[] = {std::string(8, '\0'),
                                  std::string(8, '\xFF'),
                                  std::string("\0\0\0\0\0\0\xF0\x7F", 8),
                                  "\1",
                                  "\x80",
                                  "\xFF"};
    for (const Way& way : savedWays()) {
        std::string lines;
        const auto source = open(way, 1);
        push(*source, makeRowStream(4, 60), lines);
        const std::string state = source->save();
        const auto session = open(way, 2);
        const std::string empty = session->save();
        std::mt19937_64 chance(6);
        for (int i = 0; i < 400; ++i) {
            const std::string& value = values[chance() % std::size(values)];
            const std::size_t room = state.size() - 36 - 8 - value.size();
            const std::string wrong = forged(state, 36 + chance() % room, value);
            const auto other = open(way, 1);
            const int code = codeOf([&] { other->load(wrong); });
            if (code == 0) {
                push(*other, makeRowStream(5, 60), lines);
                finish(*other, lines);
            } else {
                EXPECT_EQ(code, QORVEL_ENGINE_BAD_STATE);
                EXPECT_EQ(codeOf([&] { session->load(wrong); }), code);
            }
        }
        EXPECT_EQ(codeOf([&] { session->load(state + 'x'); }), QORVEL_ENGINE_BAD_STATE);
        EXPECT_TRUE(session->save() == empty);
    }
}

TEST(Session, RefusesFixesThatWaitInNoOrder) {
    Way way{Question::stays};
    way.late = kHour;
    RowStream stream;
    std::string times[4]; // as a state has them
    for (std::int64_t minute = 0; minute < 4; ++minute) {
        const std::int64_t time = 100 * kHour + minute * kStreamMinute;
        stream.push_back({"1", 48.0, 11.0, time, {}, {}, {}});
        for (unsigned shift = 0; shift < 64; shift += 8) {
            times[minute] += static_cast<char>(time >> shift);
        }
    }
    std::string lines;
    const auto source = open(way, 1);
    push(*source, stream, lines);
    const std::string state = source->save();
    const std::size_t second = state.find(times[1]);
    ASSERT_NE(second, std::string::npos);
    const std::string wrong = forged(state, second, times[3]);
    EXPECT_EQ(codeOf([&] { open(way, 1)->load(wrong); }), QORVEL_ENGINE_BAD_STATE);
    open(way, 1)->load(forged(state, second, times[2])); // two at one time may be
}

TEST(Session, FindsTheSameOfManyEntities) {
    constexpr std::size_t kEntities = 5000; // with so many, what is kept of them is fetched ahead
    RowStream parts[2];
    RowStream stream;
    for (std::size_t i = 0; i < 4 * kEntities; ++i) {
        const std::size_t entity = i % kEntities;
        stream.push_back({std::to_string(entity),
                          48.0,
                          11.0 + 0.001 * static_cast<double>(entity),
                          100 * kHour + static_cast<std::int64_t>(i / kEntities) * kStreamMinute,
                          {},
                          {},
                          {}});
        parts[entity % 2].push_back(stream.back());
    }
    Way way{Question::presence};
    way.rowsPerPush = stream.size();
    const std::string all = run(stream, way);
    EXPECT_GE(std::count(all.begin(), all.end(), '\n'), std::ptrdiff_t{kEntities});
    EXPECT_TRUE(sorted(all) == sorted(run(parts[0], way) + run(parts[1], way)));
}

TEST(Session, GivesEachOfManyBoxesOnce) {
    std::string once;
    std::string again;
    for (int length = 5; length <= 10; ++length) {
        for (const char* name : {"a", "b"}) {
            const std::string master = name + std::to_string(length);
            std::string& config = *name == 'a' ? once : again;
            config += "[[master]]\nname = \"" + master +
                      "\"\ncell_length = " + std::to_string(length) +
                      "\n[[assignment]]\nmaster = \"" + master + "\"\n";
        }
    }
    const RowColumns columns({{"1", 1e-9, 1e-9, kHour, 1e5, {}, {}}}, EntityKind::text);
    const auto boxes = [&columns](const std::string& config) {
        Session session({Question::boxes}, readConfigText(config), {});
        session.push(columns.slice(0, 1));
        session.finish();
        std::string lines;
        takeAll(session, lines);
        return lines;
    };
    const std::string all = boxes(once);
    EXPECT_GT(std::count(all.begin(), all.end(), '\n'), 32); // from which on they are hashed
    EXPECT_EQ(boxes(once + again), all);
    EXPECT_EQ(sorted(boxes(again + once)), sorted(all));
}

TEST(Session, AdvisesOnAnEmptyAnswer) {
    const AdviceWords words{[](std::string_view name) { return '<' + std::string(name) + '>'; },
                            "<column>", "<explain>", "<check>"};
    Config said;
    said.masters.resize(1);
    said.presence.resize(1);
    said.hangouts.resize(1);
    Config text = said;
    text.masters[0].line = 1;
    Config file;
    file.file = "a.toml";
    const std::optional<std::int64_t> never;
    const struct {
        Question question;
        Config config;
        InputFigures input; ///< entities, interval, inaccurate
        std::string advice; ///< the beginning
    } rows[] = {
        {Question::boxes, said, {2, never, 0}, ""},
        {Question::boxes, text, {2, never, 0}, "no assignment of the configuration takes any row"},
        {Question::boxes, file, {2, never, 0}, "no assignment of a.toml takes any row; <check> "},
        {Question::stays, said, {2, never, 0}, "no entity has two fixes at different times; <col"},
        {Question::stays,
         said,
         {2, 25 * kHour, 0},
         "the fixes of an entity are typically 1.04 day"},
        {Question::places, said, {2, kHour, 0}, "nobody was within <radius> (200 m) of one place"},
        {Question::stays, said, {2, kHour, 6}, "6 of 10 fixes are less accurate than <max_accura"},
        {Question::encounters, said, {1, kHour, 0}, "there is one entity only, and two can meet;"},
        {Question::encounters, said, {2, kHour, 0}, "the fixes of an entity are typically 1 hour"},
        {Question::encounters, said, {2, 1000, 0}, "no two were within <within> (50 m) of each o"},
        {Question::presence, said, {2, never, 0}, "no entity has two fixes at different times;"},
        {Question::presence, {}, {2, 1000, 0}, ""},
        {Question::presence, text, {2, 1000, 0}, "no spec of the configuration was met; <explai"},
        {Question::hangouts, file, {2, 1000, 0}, "no spec of a.toml was met; <explain> says what"},
        {Question::presence, said, {2, kHour, 0}, "the fixes of an entity are typically 1 hour"},
        {Question::presence, said, {2, 1000, 0}, "nobody had <min_count> (5) fixes in a cell wi"},
        {Question::hangouts, said, {2, 1000, 0}, "nobody had <min_count> (5) fixes in a cell ov"}};
    RunFigures run;
    run.processed = 10;
    for (const auto& row : rows) {
        AnalysisOptions options;
        options.question = row.question;
        const std::string advice = adviceOn(options, row.config, run, row.input, words);
        EXPECT_EQ(advice.substr(0, row.advice.size()), row.advice);
        EXPECT_EQ(advice.empty(), row.advice.empty());
    }
    AnalysisOptions options;
    options.question = Question::encounters;
    options.encounters.minDuration = kHour;
    EXPECT_NE(adviceOn(options, said, run, {2, 1000, 0}, words).find("<min_minutes> asks"),
              std::string::npos);
    run.results = 1;
    EXPECT_EQ(adviceOn(options, said, run, {2, 1000, 0}, words), "");
}

/// In no thread but the one that made it.
class OwnRenderer : public LineRenderer {
public:
    void append(std::string& out, const ResultTable& table, std::size_t row) const override {
        if (std::this_thread::get_id() != own_) {
            throw std::bad_alloc();
        }
        LineRenderer::append(out, table, row);
    }

private:
    std::thread::id own_ = std::this_thread::get_id();
};

TEST(Session, EndsInAllThreadsWhenOneFails) {
    const RowColumns columns(makeRowStream(3, 500), EntityKind::text);
    for (int times = 0; times < 5; ++times) {
        Way way;
        way.threads = 3;
        way.renderer = std::make_shared<OwnRenderer>();
        Session session(askedIn(way), readConfigText(kConfig), optionsOf(way));
        bool hasFailed = false;
        for (int pushes = 0; pushes < 100000 && !hasFailed; ++pushes) {
            try {
                session.push(columns.slice(0, 500));
                while (session.take()) {
                }
            } catch (const std::exception&) {
                hasFailed = true;
            }
        }
        EXPECT_TRUE(hasFailed);
        EXPECT_EQ(codeOf([&] { session.push(columns.slice(0, 500)); }), QORVEL_ENGINE_MISUSE);
    }
}

TEST(Session, CountsRowsThatBreakThePromise) {
    RowStream stream;
    for (const std::int64_t hour : {50, 20, 60, 58, 35, 36}) {
        stream.push_back({"1", 48.0, 11.0, hour * kHour, {}, {}, {}});
    }
    const RowColumns columns(stream, EntityKind::text);
    struct Case {
        std::optional<std::int64_t> late;
        std::optional<std::int64_t> oldestAfterThree;
        std::uint64_t lateRows;
        Question question = Question::hangouts;
    };
    for (const Case& row :
         {Case{kHour, {}, 4}, Case{{}, {}, 2}, Case{24 * kHour - 1, {}, 3}, Case{kEver, {}, 0},
          Case{{}, 35 * kHour, 0}, Case{{}, 36 * kHour, 1}, Case{kHour, 0, 4},
          Case{{}, {}, 4, Question::stays}, Case{24 * kHour - 1, {}, 3, Question::stays},
          Case{24 * kHour - 1, 0, 3, Question::stays}, Case{{}, 35 * kHour, 0, Question::stays},
          Case{{}, 36 * kHour, 1, Question::stays}, Case{kEver, 61 * kHour, 3, Question::stays}}) {
        SessionOptions options;
        options.late = row.late;
        Session session({row.question}, readConfigText(kConfig), options);
        session.push(columns.slice(0, 3), nullptr, row.oldestAfterThree);
        session.push(columns.slice(3, 3), nullptr, row.oldestAfterThree);
        EXPECT_EQ(session.figures().late, row.lateRows);
        EXPECT_EQ(session.figures().outOfOrder, 4U);
        EXPECT_EQ(codeOf([&] { session.remarks(); }), QORVEL_ENGINE_MISUSE);
        session.finish();
        EXPECT_EQ(session.remarks().size(),
                  (row.lateRows > 0 ? 1U : 0U) + (row.question == Question::stays ? 0U : 1U));
    }
}

TEST(Session, RefusesWhatItsStateDoesNotAllowAndStaysAsItIs) {
    const RowStream stream = makeRowStream(4, 50);
    const RowColumns texts(stream, EntityKind::text);
    const RowColumns numbers(stream, EntityKind::int64);
    Session session({}, readConfigText(kConfig));
    EXPECT_EQ(session.names(), nullptr);
    session.push(texts.slice(0, 20));
    EXPECT_EQ(codeOf([&] { session.push(numbers.slice(20, 30)); }), QORVEL_ENGINE_MISUSE);
    session.push(texts.slice(20, 30));
    session.finish();
    EXPECT_EQ(codeOf([&] { session.push(texts.slice(0, 1)); }), QORVEL_ENGINE_MISUSE);
    EXPECT_EQ(codeOf([&] { session.finish(); }), QORVEL_ENGINE_MISUSE);
    std::string lines;
    takeAll(session, lines);
    EXPECT_EQ(lines, run(stream, {}));
}

/// Cancels at the first result.
class CancellingRenderer : public LineRenderer {
public:
    void append(std::string& out, const ResultTable& table, std::size_t row) const override {
        ++calls;
        session->cancel();
        LineRenderer::append(out, table, row);
    }

    Session* session = nullptr;
    mutable int calls = 0;
};

TEST(Session, TakesNoFurtherRowWhenItIsCancelled) {
    const RowColumns columns(makeRowStream(5, 1000), EntityKind::text);
    const auto renderer = std::make_shared<CancellingRenderer>();
    Way way;
    way.question = Question::presence;
    way.renderer = renderer;
    Session session(askedIn(way), readConfigText(kConfig), optionsOf(way));
    renderer->session = &session;
    EXPECT_EQ(codeOf([&] { session.push(columns.slice(0, 1000)); }), QORVEL_ENGINE_CANCELLED);
    EXPECT_TRUE(1 <= renderer->calls && renderer->calls < 20) << renderer->calls;
    EXPECT_FALSE(session.take());
}

TEST(Session, EndsSoonWhenItIsCancelled) {
    const RowStream stream = makeRowStream(5, 5000);
    const RowColumns columns(stream, EntityKind::text);
    for (const unsigned threads : {1U, 3U}) {
        Way way;
        way.threads = threads;
        Session session(askedIn(way), readConfigText(kConfig), optionsOf(way));
        std::jthread other([&] {
            while (session.figures().results == 0) {
                std::this_thread::yield();
            }
            session.cancel();
        });
        const auto push = [&] { session.push(columns.slice(0, stream.size())); };
        int code = 0;
        while (code == 0) {
            code = codeOf(push);
        }
        EXPECT_EQ(code, QORVEL_ENGINE_CANCELLED);
        EXPECT_EQ(codeOf([&] { session.flush(); }), QORVEL_ENGINE_CANCELLED);
        EXPECT_EQ(codeOf([&] { session.finish(); }), QORVEL_ENGINE_CANCELLED);
        std::string lines;
        takeAll(session, lines);
        EXPECT_EQ(session.figures().results, std::count(lines.begin(), lines.end(), '\n'));
        EXPECT_GT(lines.size(), 0U);
    }
}

// ---- From C ----

ArrowMaker make(1);

/// A table as a stream that fails at the end, if it is to.
struct TableStream {
    ColumnPointer table;
    int end; ///< what it returns behind the table
    int* live;
    bool isRead = false;

    ArrowArrayStream show() {
        const auto getSchema = [](ArrowArrayStream* stream, ArrowSchema* out) {
            const auto& self = *static_cast<TableStream*>(stream->private_data);
            *out = counted(self.table->schema, *self.live);
            return 0;
        };
        const auto getNext = [](ArrowArrayStream* stream, ArrowArray* out) {
            auto& self = *static_cast<TableStream*>(stream->private_data);
            const bool isEnd = std::exchange(self.isRead, true);
            *out = isEnd ? ArrowArray{} : counted(self.table->array, *self.live);
            return isEnd ? self.end : 0;
        };
        ++*live;
        return {getSchema, getNext, [](ArrowArrayStream*) { return "the disk is gone"; },
                [](ArrowArrayStream* released) {
                    --*static_cast<TableStream*>(released->private_data)->live;
                    released->release = nullptr;
                },
                this};
    }
};

/// A session in which every call has memory for so many allocations, until it has run out of it
/// once. Then the call is made again.
class FromC {
public:
    explicit FromC(int allocations = -1) : allocations_(allocations) {}
    FromC(const FromC&) = delete;
    FromC& operator=(const FromC&) = delete;
    ~FromC() {
        qorvel_engine_close(session);
        EXPECT_EQ(live, 0);
    }

    /// False if the session has ended: then it says so.
    template <class Call>
    bool works(const Call& call) {
        const auto attempt = [&] {
            allocationsLeft = allocations_;
            const int code = call();
            allocations_ = allocationsLeft.exchange(-1);
            return code;
        };
        int code = attempt();
        if (code == QORVEL_ENGINE_OUT_OF_MEMORY || code == ENOMEM) {
            EXPECT_LT(allocations_, 0);
            hasFailed = true;
            code = attempt();
        }
        EXPECT_TRUE(code == 0 || (hasFailed && (code == QORVEL_ENGINE_MISUSE || code == EINVAL)))
            << code << ": " << qorvel_engine_last_fault(session)->sentence;
        return code == 0;
    }

    /// Another thread opens it when this one could not: no lock has stayed with it.
    bool open(const char* options, const char* question = "boxes") {
        return works([&] {
            std::int32_t code = 0;
            const auto call = [&] {
                qorvel_engine_close(session);
                code = qorvel_engine_open(question, kConfig, options, &session);
            };
            if (hasFailed) {
                std::thread(call).join();
            } else {
                call();
            }
            return code;
        });
    }

    bool push(const ColumnPointer& table) {
        return works([&] {
            ArrowSchema schema = counted(table->schema, live);
            ArrowArray array = counted(table->array, live);
            return qorvel_engine_push(session, &schema, &array, -1);
        });
    }

    /// All tables of a stream of results or rejects.
    template <class Open, class Read>
    bool read(const Open& openStream, const Read& readTable) {
        ArrowArrayStream memory{};
        if (!works([&] { return openStream(session, &memory); })) {
            return false;
        }
        ArrowStreamOwner stream(memory);
        ArrowSchemaOwner schema;
        bool goesOn = works([&] { return stream->get_schema(stream.get(), schema.fresh()); });
        while (goesOn) {
            ArrowArrayOwner array;
            goesOn = works([&] { return stream->get_next(stream.get(), array.fresh()); });
            if (goesOn && !array) {
                return true;
            }
            if (goesOn) {
                readTable(*schema, *array);
            }
        }
        return false;
    }

    bool readBoxes(Lines& lines) {
        const auto add = [&](const ArrowSchema& schema, const ArrowArray& array) {
            ColumnNames names;
            names.time = "box_start";
            names.primaryKey = "geohash";
            const Observations boxes = ObservationSchema(schema, names).bind(array);
            for (std::int64_t row = 0; row < boxes.size(); ++row) {
                lines.push_back(std::string(boxes.entityText(row)) + ' ' +
                                std::string(boxes.primaryKey(row)) + ' ' +
                                std::to_string(boxes.timeMs(row)));
            }
        };
        return read(qorvel_engine_results, add);
    }

    bool readRejects(Lines& lines) {
        const auto add = [&](const ArrowSchema&, const ArrowArray& array) {
            const auto* const rows =
                static_cast<const std::int64_t*>(array.children[0]->buffers[1]);
            const auto* const codes =
                static_cast<const std::int64_t*>(array.children[1]->buffers[1]);
            for (std::int64_t i = 0; i < array.length; ++i) {
                lines.push_back(std::to_string(rows[i]) + " for " + std::to_string(codes[i]));
            }
        };
        return read(qorvel_engine_rejects, add);
    }

    /// All boxes and then all rejects, unless the session has ended.
    std::optional<Lines> ask(const std::vector<ColumnPointer>& tables, const char* options,
                             const char* question = "boxes") {
        Lines lines;
        Lines rejects;
        bool goesOn = open(options, question);
        for (std::size_t i = 0; goesOn && i < tables.size(); ++i) {
            goesOn = push(tables[i]) && readBoxes(lines);
        }
        goesOn = goesOn && works([&] { return qorvel_engine_finish(session); }) &&
                 readBoxes(lines) && readRejects(rejects);
        lines.insert(lines.end(), rejects.begin(), rejects.end());
        return goesOn ? std::optional(lines) : std::nullopt;
    }

    /// Has no allocation failed?
    bool hadEnough() const { return allocations_ >= 0; }

    qorvel_engine_session* session = nullptr;
    int live = 0;
    bool hasFailed = false; ///< has memory run out in a call?

private:
    int allocations_;
};

std::vector<ColumnPointer> makeTables(const RowStream& stream, std::size_t most) {
    std::vector<ColumnPointer> tables;
    for (auto row = stream.begin(); row != stream.end();) {
        const auto end = row + std::min<std::ptrdiff_t>(std::ssize(stream) - (row - stream.begin()),
                                                        std::ptrdiff_t(make.below(most)));
        tables.push_back(makeArrowTable(RowStream(row, end), make));
        row = end;
    }
    return tables;
}

/// What the library's own interface finds, keys and all, and the bad rows.
Lines expectedOf(const RowStream& stream) {
    using API = qorvel::QorvelMotionProcessorAPI;
    const Tables tables(readConfigText(kConfig), ProcessorKind::boxes);
    std::stringstream errors;
    qorvel::MotionProcessor processor;
    API::createMotionProcessorForSTBs(tables.masters(), tables.assignments(), processor, errors);
    Lines lines;
    Lines rejects;
    for (std::size_t i = 0; i < stream.size(); ++i) {
        const StreamRow& row = stream[i];
        if (row.reason != RowReason::none) {
            rejects.push_back(std::to_string(i) + " for " +
                              std::to_string(static_cast<int>(row.reason)));
            continue;
        }
        qorvel::Event event;
        std::list<qorvel::SpaceTimeBox> boxes;
        const std::string key = row.primaryKey.value_or("");
        API::createEvent(key.empty() ? "ANY" : key, row.entity, row.secondaryKey.value_or(""),
                         row.latitude, row.longitude, row.accuracy.value_or(20.0), row.time, 0,
                         event, errors);
        API::processEventForSTBs(event, processor, boxes, errors);
        for (const qorvel::SpaceTimeBox& box : boxes) {
            lines.push_back(row.entity + ' ' + box.toASCIIString() + ' ' +
                            std::to_string(box.start));
        }
    }
    lines.insert(lines.end(), rejects.begin(), rejects.end());
    return lines;
}

TEST(SessionFromC, FindsInAllFormsOfTablesTheBoxesThatTheLibraryFinds) {
    const RowStream stream = makeRowStream(6, 300);
    const Lines expected = expectedOf(stream);
    for (int times = 0; times < 20; ++times) {
        const auto tables = makeTables(stream, 60);
        FromC c;
        EXPECT_EQ(c.ask(tables, "entity=who\ndefault_tolerance=20\nthreads=3"), expected);
        FromC streamed;
        const struct {
            int end;
            bool saysWhy;
            std::int32_t code;
            const char* words;
        } ends[] = {{0, true, 0, ""},
                    {EIO, true, QORVEL_ENGINE_BAD_COLUMN, "the disk is gone"},
                    {EIO, false, QORVEL_ENGINE_BAD_COLUMN, "it does not say why"},
                    {ENOMEM, true, QORVEL_ENGINE_OUT_OF_MEMORY, "Memory"}};
        const auto& [end, saysWhy, code, words] = ends[times % 4];
        TableStream source{makeArrowTable(stream, make), end, &streamed.live};
        ArrowArrayStream all = source.show();
        all.get_last_error = saysWhy ? all.get_last_error : nullptr;
        EXPECT_TRUE(streamed.open("entity=who\ndefault_tolerance=20\n\n"));
        EXPECT_EQ(qorvel_engine_push_stream(streamed.session, &all), code);
        const std::string sentence = qorvel_engine_last_fault(streamed.session)->sentence;
        EXPECT_NE(sentence.find(words), std::string::npos) << sentence;
        Lines lines;
        EXPECT_TRUE(streamed.readBoxes(lines) && streamed.readRejects(lines));
        EXPECT_EQ(lines, expected);
    }
}

TEST(SessionFromC, LosesNothingWhenMemoryRunsOutAnywhere) {
    RowStream stream = makeRowStream(7, 60);
    for (StreamRow& row : stream) {
        row.entity = row.entity < "5" ? "1" : "2"; // few, in one place, so that they are found
        row.latitude = std::min(row.latitude, 48.0);
        row.longitude = 11.0;
    }
    const auto tables = makeTables(stream, 50);
    struct Case {
        const char* question;
        const char* options;
    };
    for (const Case& row : {Case{"boxes", "entity=who"}, Case{"presence", "entity=who"},
                            Case{"hangouts", "entity=who\nlast_figures=1\nthreads=2"}}) {
        const std::optional<Lines> expected = FromC().ask(tables, row.options, row.question);
        EXPECT_GT(expected->size(), 10U);
        int goneOn = 0;
        int ended = 0;
        for (int allocation = 0;; ++allocation) {
            FromC c(allocation);
            const std::optional<Lines> found = c.ask(tables, row.options, row.question);
            EXPECT_TRUE(!found || found == expected) << allocation;
            ++(found ? goneOn : ended);
            if (c.hadEnough() || HasFailure()) {
                break;
            }
        }
        EXPECT_TRUE(goneOn > 100 && ended > 10) << goneOn << ' ' << ended;
    }
}

TEST(SessionFromC, RefusesInWords) {
    EXPECT_TRUE(std::regex_match(qorvel_engine_version(), std::regex(R"(\d+\.\d+\.\d+)")));
    struct Opening {
        const char* question;
        const char* configuration;
        const char* options;
        std::int32_t code;
        std::uint64_t line;
    };
    constexpr std::int32_t kBad = QORVEL_ENGINE_BAD_CONFIGURATION;
    const Opening openings[] = {
        {"boxes", kConfig, nullptr, 0, 0},
        {"stays", kConfig, "late=ever\nlast_figures=1\nrows=1\n", 0, 0},
        {"encounters", kConfig, "within=7\npairs=1\nfixes_only=1\naccuracy=", 0, 0},
        {"stays", "",
         "radius=1e5\nmin_stay=0\nmax_gap=5\nmax_bridge=5\n"
         "max_away=0\nmax_accuracy=0",
         0, 0},
        {"encounters", "", "within=1e5\napart=86400000\nmin_duration=0", 0, 0},
        {"encounters", kConfig, "pairs=0", 0, 0},
        {"places", "",
         "time_zone=Asia/Kolkata\nlabels=0\nlon=x\ntime=t\nprimary_key=p\nsecondary_key=s", 0, 0},
        {"places", "", "time_zone=Asia/Nowhere", kBad, 0},
        {"encounters", "", "within=7m", kBad, 1},
        {"encounters", "", "within=m", kBad, 1},
        {"encounters", "", "within=0", kBad, 0},
        {"encounters", "", "within=100001", kBad, 0},
        {"encounters", "", "within=nan", kBad, 0},
        {"encounters", "", "apart=0", kBad, 0},
        {"encounters", "", "apart=86400001", kBad, 0},
        {"encounters", "", "min_duration=-1", kBad, 0},
        {"stays", "", "radius=0", kBad, 0},
        {"stays", "", "radius=100001", kBad, 0},
        {"stays", "", "radius=nan", kBad, 0},
        {"stays", "", "min_stay=-1", kBad, 0},
        {"stays", "", "max_gap=-1", kBad, 0},
        {"stays", "", "max_gap=5\nmax_bridge=4", kBad, 0},
        {"stays", "", "max_away=-1", kBad, 0},
        {"stays", "", "max_accuracy=nan", kBad, 0},
        {nullptr, kConfig, "", QORVEL_ENGINE_MISUSE, 0},
        {"boxes", nullptr, "", QORVEL_ENGINE_MISUSE, 0},
        {"box", kConfig, "", kBad, 0},
        {"boxes", "\nmaster = ]", "", kBad, 2},
        {"boxes", "", "", kBad, 0},
        {"boxes", kConfig, "threads=1\n\nthreads=2x", kBad, 3},
        {"boxes", kConfig, "colour=1", kBad, 1},
        {"boxes", kConfig, "threads", kBad, 1},
        {"boxes", kConfig, "last_figures=2", kBad, 1},
        {"boxes", kConfig, "late=soon", kBad, 1},
        {"boxes", kConfig, "late=-1", kBad, 0},
        {"boxes", kConfig, "threads=0", kBad, 0},
        {"boxes", kConfig, "threads=257", kBad, 0},
        {"boxes", kConfig, "time_tolerance=2", kBad, 0},
        {"boxes", kConfig, "default_tolerance=-1", kBad, 0},
        {"boxes", kConfig, "default_tolerance=nan", kBad, 0},
        {"boxes", kConfig, "default_tolerance=inf", kBad, 0}};
    for (const Opening& row : openings) {
        FromC c;
        EXPECT_EQ(qorvel_engine_open(row.question, row.configuration, row.options, &c.session),
                  row.code);
        const qorvel_engine_fault& fault = *qorvel_engine_last_fault(c.session);
        EXPECT_EQ(fault.code, row.code);
        EXPECT_EQ(fault.line, row.line) << fault.sentence;
        EXPECT_EQ(*fault.sentence == '\0', row.code == 0);
        EXPECT_EQ(qorvel_engine_finish(c.session), row.code == 0 ? 0 : QORVEL_ENGINE_MISUSE);
    }
    const auto table = makeArrowTable(makeRowStream(8, 3), make);
    const auto pushTo = [&](FromC& c, bool hasSchema, bool hasArray) {
        ArrowSchema schema = counted(table->schema, c.live);
        ArrowArray array = counted(table->array, c.live);
        if (!hasSchema) {
            schema.release(&schema);
        }
        if (!hasArray) {
            array.release(&array);
        }
        return qorvel_engine_push(c.session, hasSchema ? &schema : nullptr, &array, 5);
    };
    FromC c;
    EXPECT_EQ(pushTo(c, true, true), QORVEL_ENGINE_MISUSE); // not open
    c.open("entity=who\nlat=nowhere");
    EXPECT_EQ(pushTo(c, true, true), QORVEL_ENGINE_MISSING_COLUMN);
    c.open("entity=who");
    EXPECT_EQ(pushTo(c, false, true), QORVEL_ENGINE_MISUSE);
    ArrowArrayStream stream{};
    ArrowSchema schema{};
    ArrowArray array{};
    EXPECT_EQ(qorvel_engine_results(c.session, nullptr), QORVEL_ENGINE_MISUSE);
    EXPECT_EQ(qorvel_engine_results(c.session, &stream), 0);
    EXPECT_EQ(stream.get_last_error(&stream), nullptr);
    EXPECT_EQ(stream.get_schema(&stream, &schema), EINVAL); // not known yet
    EXPECT_NE(stream.get_last_error(&stream), nullptr);
    EXPECT_EQ(pushTo(c, true, false), QORVEL_ENGINE_BAD_COLUMN);
    EXPECT_EQ(pushTo(c, true, true), 0);
    EXPECT_EQ(pushTo(c, false, true), 0);
    EXPECT_EQ(qorvel_engine_push_stream(c.session, nullptr), QORVEL_ENGINE_MISUSE);
    ArrowArrayStream lacking = TableStream{nullptr, 0, &c.live}.show();
    lacking.get_next = nullptr;
    lacking.release = [](ArrowArrayStream* released) { released->release = nullptr; };
    --c.live;
    EXPECT_EQ(qorvel_engine_push_stream(c.session, &lacking), QORVEL_ENGINE_MISUSE);
    const void* bytes = nullptr;
    std::uint64_t size = 0;
    EXPECT_EQ(qorvel_engine_rejects(c.session, nullptr), QORVEL_ENGINE_MISUSE);
    EXPECT_EQ(qorvel_engine_save(c.session, &bytes, nullptr), QORVEL_ENGINE_MISUSE);
    EXPECT_EQ(qorvel_engine_load(c.session, nullptr, 1), QORVEL_ENGINE_MISUSE);
    EXPECT_EQ(qorvel_engine_take_entities(c.session, nullptr, 1, &bytes, &size),
              QORVEL_ENGINE_MISUSE);
    qorvel_engine_figures figures{};
    qorvel_engine_progress(c.session, &figures);
    qorvel_engine_progress(c.session, nullptr);
    EXPECT_EQ(figures.pushed, 6U);
    qorvel_engine_progress(nullptr, &figures);
    EXPECT_EQ(figures.pushed, 0U);
    EXPECT_EQ(qorvel_engine_flush(c.session), 0);
    EXPECT_EQ(qorvel_engine_finish(c.session), 0);
    EXPECT_EQ(qorvel_engine_remark(c.session, 100), nullptr);
    // Without a session nothing happens, but what is handed over is released.
    EXPECT_EQ(qorvel_engine_open("boxes", kConfig, "", nullptr), QORVEL_ENGINE_MISUSE);
    EXPECT_EQ(qorvel_engine_push(nullptr, nullptr, nullptr, -1), QORVEL_ENGINE_MISUSE);
    EXPECT_EQ(qorvel_engine_last_fault(nullptr)->code, QORVEL_ENGINE_OUT_OF_MEMORY);
    qorvel_engine_cancel(nullptr);
    qorvel_engine_close(nullptr);
    FromC closed;
    EXPECT_EQ(qorvel_engine_open("box", "", "", &closed.session), kBad);
    qorvel_engine_cancel(closed.session);
    qorvel_engine_progress(closed.session, &figures);
    EXPECT_EQ(figures.pushed, 0U);
    EXPECT_EQ(pushTo(closed, true, true), QORVEL_ENGINE_MISUSE);
    qorvel_engine_close(std::exchange(c.session, nullptr));
    EXPECT_EQ(stream.get_next(&stream, &array), EINVAL);
    EXPECT_EQ(array.release, nullptr);
    stream.release(&stream);
}

} // namespace
