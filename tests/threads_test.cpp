// Locks and threads: hosts with processors of their own do not disturb each other, copies of one
// detector or processor take turns, first uses may come all at once, and an abandoned lock reaches
// everyone who waits.

#include "testing/model/compare.h"

#include "qorvel/qorvel.h"

#include <algorithm>
#include <atomic>
#include <barrier>
#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <mutex>
#include <set>
#include <thread>
#ifdef __linux__
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace {

using API = QorvelMotionProcessorAPI;
using Records = std::list<STBCompressedEvent>;

constexpr int kThreads = 8;

/// Runs work(0) to work(count - 1), each on a thread of its own, and none before all are there.
template <class Work>
void atOnce(int count, Work work) {
    std::barrier start(count);
    std::vector<std::jthread> threads;
    for (int number = 0; number < count; ++number) {
        threads.emplace_back([&, number] {
            start.arrive_and_wait();
            work(number);
        });
    }
}

TEST(Threads, EightRegisterDenselyAndDrawUniqueNumbers) {
    constexpr std::uint64_t names = 2000;
    std::vector<Event> made[kThreads];
    atOnce(kThreads, [&](int thread) {
        std::stringstream errors;
        for (std::uint64_t i = 0; i < names; ++i) {
            API::createEvent("ANY", std::to_string(i), "car", 48.0, 11.0, 20.0, 0, 0,
                             made[thread].emplace_back(), errors);
        }
    });
    std::set<std::uint64_t> numbers;
    std::set<std::uint64_t> entities;
    for (const std::vector<Event>& events : made) {
        for (std::size_t i = 0; i < names; ++i) {
            numbers.insert(events[i].sequenceNumber);
            entities.insert(events[i].eid);
            EXPECT_EQ(EIDName::getEIDNameStr(events[i].eid), std::to_string(i));
        }
    }
    EXPECT_EQ(numbers.size(), kThreads * names);
    EXPECT_EQ(entities.size(), names);
    EXPECT_EQ(*entities.rbegin() - *entities.begin(), names - 1) << "dense";
}

TEST(Threads, CopiesOfADetectorTakeTurns) {
    HangoutDetector detector;
    HangoutDetector copy(detector);
    std::atomic<int> detected = 0;
    atOnce(3, [&](int thread) {
        HangoutDetector& shared = thread < 2 ? detector : copy;
        Event event;
        event.eid = static_cast<std::uint64_t>(thread);
        for (; event.time < 500000; event.time += 1000) {
            Records out;
            detected += shared.processEventPresenceCompression(
                event, 1.0, 1.0, {0, 0, 0, 3600000, 1, 0.0}, {35, {1, "days"}}, out);
            shared.gc(event.time - 10000);
            EXPECT_GT(shared.getItemCount(), 0U);
        }
    });
    EXPECT_EQ(detected, 1500);
    EXPECT_TRUE(detector.getEntityCount() == 2 && detector.getItemCount() == 22);
    EXPECT_EQ(copy.getItemCount(), 11U);
}

void letOthersRun() {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
}

TEST(StbSimpleMutex, IsRecursiveAndOneOwnersAlone) {
    StbSimpleMutex mutex;
    std::atomic<bool> isOthers = false;
    mutex.lock();
    mutex.lock();
    std::jthread other([&] {
        mutex.unlock(); // not the owner: does nothing
        mutex.lock();
        isOthers = true;
        mutex.unlock();
    });
    letOthersRun();
    mutex.unlock();
    letOthersRun();
    EXPECT_FALSE(isOthers) << "one level is still held";
    mutex.unlock();
}

TEST(StbSimpleMutex, TellsTheNextOwnerThatItWasAbandonedAndServesTheRest) {
    StbSimpleMutex mutex;
    std::thread([&] { mutex.lock(); }).join();
    std::atomic<int> told = 0;
    std::atomic<int> inside = 0;
    atOnce(3, [&](int) {
        try {
            mutex.lock();
        } catch (const StbThreadException& failure) {
            EXPECT_EQ(failure.getCode(), 3);
            ++told;
        }
        EXPECT_EQ(++inside, 1) << "told or not, it owns the lock";
        letOthersRun();
        --inside;
        mutex.unlock();
    });
    EXPECT_EQ(told, 1);
}

/// Does this thread hold any robust mutex? One that was destroyed meanwhile would stay on its list.
bool holdsRobustMutex() {
#ifdef __linux__
    robust_list_head* list = nullptr;
    std::size_t size = 0;
    return syscall(SYS_get_robust_list, 0, &list, &size) == 0 && list->list.next != &list->list;
#else
    return false;
#endif
}

TEST(StbSimpleMutex, IsDestroyedHeldByThisThreadOrAbandoned) {
    {
        StbSimpleMutex held;
        held.lock();
        held.lock();
    }
    EXPECT_FALSE(holdsRobustMutex());
    {
        StbSimpleMutex abandoned;
        std::thread([&] { abandoned.lock(); }).join();
    }
    StbSimpleMutex next; // a mutex left on this thread's list would corrupt this
    next.lock();
    next.unlock();
}

/// Everything within the radius; presence looks back for `minutes`, hangouts last as long.
MotionProcessor makeProcessor(const std::string& key, std::uint32_t minutes,
                              std::uint32_t minCount) {
    std::stringstream errors;
    std::list<STBMasterRow> masters(1);
    std::list<STBAssignmentRow> rows(1);
    std::list<STBCompressionSpec> specs(1);
    MotionProcessor processor;
    const std::vector<int> codes = {
        API::createSTBMasterRow(key, 7, 1, "hours", masters.front(), errors),
        API::createSTBAssignmentRow("ANY", key, 100.0, 1, key, {}, 48.0, 11.0, 1e5, 1.0, 1.0,
                                    rows.front(), errors),
        API::createHangoutSpec("ANY", key, key, minutes, "minutes", minCount, 0.0, specs.front(),
                               errors),
        API::createMotionProcessorForHangouts(masters, rows, specs, processor, errors)};
    EXPECT_EQ(codes, std::vector<int>(4)) << errors.str();
    return processor;
}

/// All that a host finds in a stream of its own, its events numbered from 0: others draw sequence
/// numbers meanwhile.
std::string runHost(const std::string& name) {
    MotionProcessor hangouts = makeProcessor(name, 10, 3);
    MotionProcessor presence = makeProcessor(name, 20, 2);
    std::vector<std::uint64_t> numbers;
    std::list<SpaceTimeBox> boxes;
    Records records;
    std::stringstream errors;
    for (int i = 0; i < 400; ++i) {
        Event event;
        API::createEvent("pk", name + std::to_string(i % 4), name, 48.0 + i / 40 * 1e-3, 11.0, 50.0,
                         i * 60000, 0, event, errors);
        numbers.push_back(event.sequenceNumber);
        API::processEventForSTBs(event, hangouts, boxes, errors);
        Records found;
        API::processEventForHangouts(event, hangouts, found, errors);
        records.splice(records.end(), found);
        API::processEventForPresenceCompression(event, presence, found, errors);
        records.splice(records.end(), found);
        API::gc(presence, event.time - 30 * 60000);
    }
    for (STBCompressedEvent& record : records) {
        for (std::uint64_t& number : record.eventSequenceNumbers) {
            const auto at = std::lower_bound(numbers.begin(), numbers.end(), number);
            number = static_cast<std::uint64_t>(at - numbers.begin());
        }
    }
    EXPECT_TRUE(boxes.size() > 20 && records.size() > 20);
    return model::describe(boxes) + model::describe(records) + errors.str();
}

TEST(Threads, HostsWithProcessorsOfTheirOwnFindWhatTheyFindAlone) {
    std::vector<std::string> found(kThreads);
    atOnce(kThreads, [&](int host) {
        found[static_cast<std::size_t>(host)] = runHost("host " + std::to_string(host));
    });
    for (std::size_t host = 0; host < kThreads; ++host) {
        EXPECT_EQ(found[host], runHost("host " + std::to_string(host)));
    }
}

/// Every entity comes once by each copy, and two events make a record: whoever comes second reports
/// it, and with both events, whatever the turns are.
void expectTurns(bool (MotionProcessor::*process)(const Event&, Records&), std::uint32_t minutes) {
    constexpr std::uint64_t entities = 1000;
    MotionProcessor original = makeProcessor("turns", minutes, 2);
    const std::int32_t key = SecondaryKey::getSecondaryKeyInt("turns");
    const Event first(0, entities, key, 48.0, 11.0, 0.0, 0, 0);
    Records found[2];
    (original.*process)(first, found[0]); // makes the detector, which the copies then share
    MotionProcessor copies[] = {original, original};
    atOnce(2, [&](int copy) {
        MotionProcessor& processor = copies[copy];
        Event event = first;
        event.sequenceNumber = 1U << copy;
        for (event.eid = 0; event.eid < entities; ++event.eid) {
            Records records;
            (processor.*process)(event, records);
            found[copy].splice(found[copy].end(), records);
            processor.gc(0);
        }
    });
    found[0].splice(found[0].end(), found[1]);
    std::set<std::uint64_t> reported;
    for (const STBCompressedEvent& record : found[0]) {
        const std::list<std::uint64_t>& numbers = record.eventSequenceNumbers;
        EXPECT_TRUE(numbers.size() == 2 && numbers.front() + numbers.back() == 3) << record.eid;
        reported.insert(record.eid);
    }
    EXPECT_TRUE(reported.size() == entities && found[0].size() == entities) << found[0].size();
    for (const MotionProcessor& copy : copies) {
        EXPECT_TRUE(copy.getItemCount() == 2 * entities + 1 && copy.getDetectorCount() == 1);
    }
}

TEST(Threads, CopiesOfAProcessorActByTurns) {
    expectTurns(&MotionProcessor::processEventForPresenceCompression, 30);
    expectTurns(&MotionProcessor::processEventForHangout, 0);
}

TEST(Threads, NamesAreReadWhileNoneRegisters) {
    constexpr std::uint64_t names = 2000;
    const std::uint64_t first = EIDName::getEIDNameInt("read 0");
    for (std::uint64_t i = 1; i < names; ++i) {
        EIDName::getEIDNameInt("read " + std::to_string(i));
    }
    std::atomic<std::uint64_t> right = 0;
    atOnce(kThreads, [&](int) {
        for (std::uint64_t i = 0; i < names; ++i) {
            right += EIDName::getEIDNameStr(first + i) == "read " + std::to_string(i) ? 1 : 0;
        }
    });
    EXPECT_EQ(right, names * kThreads);
}

/// Something of all that the library sets up once.
std::string useEverything() {
    std::ostringstream told;
    const PointGeodetic64 coded(UINT64_C(0xD1234567DEADBEEF));
    for (std::int32_t metric = 0; metric <= 3; ++metric) {
        told << distanceByMetric(metric, coded, PointGeodetic128(48.0, 11.0)) << '\n';
    }
    told << UtilG2::nearFilter(48.0, 11.0, 48.0, 11.1, 1e4) << SpaceBox(48.0, 11.0, 60).hashCode();
    return told.str() + runHost("first");
}

[[noreturn]] void useEverythingFirst() {
    std::vector<std::string> found(kThreads);
    atOnce(kThreads, [&](int host) { found[static_cast<std::size_t>(host)] = useEverything(); });
    found.push_back(useEverything());
    std::exit(std::set<std::string>(found.begin(), found.end()).size() == 1 ? 0 : 1);
}

/// Did the caller find out that the lock's last owner is gone?
bool isTold() {
    try {
        makeProcessor("waiter", 1, 1);
        return false;
    } catch (const StbThreadException& failure) {
        return failure.getCode() == 3;
    }
}

/// Of three that wait for the facade's lock the first ends with it, so that the second is told as
/// well; that one unlocks, and the third hears nothing of it all.
[[noreturn]] void abandonTheFacade() {
    std::thread([] { API::__stbMutex->lock(); }).join();
    std::atomic<int> gone = 0;
    std::atomic<int> right = 0;
    atOnce(3, [&](int) {
        const bool told = isTold();
        const int turn = gone;
        const bool keeps = !told || !isTold(); // an owner can call again
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        right += told == (turn < 2) && keeps && gone == turn ? 1 : 0; // alone meanwhile
        gone = turn + 1;
        if (turn == 1) {
            API::__stbMutex->unlock();
        }
    });
    std::exit(right == 3 && gone == 3 && !isTold() ? 0 : 1);
}

/// A mutex that a live thread holds may be destroyed: the thread goes on and ends unharmed.
[[noreturn]] void destroyWhileHeld() {
    auto mutex = std::make_unique<StbSimpleMutex>();
    std::barrier step(2);
    std::thread holder([&] {
        mutex->lock();
        step.arrive_and_wait();
        step.arrive_and_wait();
        StbSimpleMutex next;
        next.lock();
        next.unlock();
    });
    step.arrive_and_wait();
    mutex.reset();
    const std::string block(sizeof(std::mutex) - 1, 'x');
    const std::vector<std::string> blocks(20, block); // where it was, if it was freed
    step.arrive_and_wait();
    holder.join();
    std::_Exit(std::count(blocks.begin(), blocks.end(), block) == 20 ? 0 : 1); // leaks on purpose
}

/// In fresh processes: the library is set up once in each, and locks stay held.
TEST(ThreadsDeathTest, FirstUsesAndAbandonedLocks) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(useEverythingFirst(), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(abandonTheFacade(), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(destroyWhileHeld(), testing::ExitedWithCode(0), "");
}

} // namespace
