// The locks, and threads that share them.

#include "qorvel/qorvel.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>
#include <thread>
#include <vector>
#ifdef __linux__
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace {

using API = QorvelMotionProcessorAPI;

Event makeEvent(const std::string& entity, std::int64_t time = 0) {
    Event event;
    std::stringstream errors;
    API::createEvent("pk", entity, "car", 48.0, 11.0, 20.0, time, 0, event, errors);
    return event;
}

TEST(Threads, EightRegisterDenselyAndDrawUniqueNumbers) {
    constexpr int kThreads = 8;
    constexpr int kEvents = 2000;
    std::vector<std::vector<Event>> events(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&events, t] {
            for (int i = 0; i < kEvents; ++i) {
                events[static_cast<std::size_t>(t)].push_back(makeEvent(std::to_string(i)));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::vector<std::uint64_t> numbers;
    std::vector<std::uint64_t> entities;
    for (const std::vector<Event>& made : events) {
        for (std::size_t i = 0; i < made.size(); ++i) {
            numbers.push_back(made[i].sequenceNumber);
            entities.push_back(made[i].eid);
            EXPECT_EQ(EIDName::getEIDNameStr(made[i].eid), std::to_string(i));
        }
    }
    const auto distinct = [](std::vector<std::uint64_t>& values) {
        std::sort(values.begin(), values.end());
        values.erase(std::unique(values.begin(), values.end()), values.end());
        return values.size();
    };
    EXPECT_EQ(distinct(numbers), std::size_t{kThreads} * kEvents);
    EXPECT_EQ(distinct(entities), std::size_t{kEvents});
    EXPECT_EQ(entities.back() - entities.front(), std::uint64_t{kEvents - 1}) << "dense";
}

TEST(Threads, CopiesOfADetectorTakeTurns) {
    HangoutDetector detector;
    const SpaceTimeBoxSpec boxes(SpaceBoxSpec(35), TimeBoxSpec(1, "days"));
    const STBCompressionSpec spec(0, 0, 0, 3600000, 1, 0.0);
    HangoutDetector copy(detector);
    std::atomic<int> detected{0};
    const auto run = [&](HangoutDetector& shared, std::uint64_t eid) {
        for (int i = 0; i < 500; ++i) {
            Event event;
            event.eid = eid;
            event.time = i * 1000;
            std::list<STBCompressedEvent> out;
            detected += shared.processEventPresenceCompression(event, 1.0, 1.0, spec, boxes, out);
            shared.gc(event.time - 10000);
        }
    };
    std::thread first(run, std::ref(detector), 1);
    std::thread second(run, std::ref(detector), 2);
    std::thread third(run, std::ref(copy), 3);
    first.join();
    second.join();
    third.join();
    EXPECT_EQ(detected, 1500);
    EXPECT_EQ(detector.getEntityCount(), 2U);
    EXPECT_EQ(detector.getItemCount(), 22U);
    EXPECT_EQ(copy.getItemCount(), 11U);
}

/// Steps that several threads go through in a fixed order.
class Stage {
public:
    void reach(int step) {
        const std::lock_guard<std::mutex> guard(mutex_);
        step_ = std::max(step_, step);
        reached_.notify_all();
    }
    void await(int step) {
        std::unique_lock<std::mutex> guard(mutex_);
        reached_.wait(guard, [&] { return step_ >= step; });
    }
    int step() {
        const std::lock_guard<std::mutex> guard(mutex_);
        return step_;
    }

private:
    std::mutex mutex_;
    std::condition_variable reached_;
    int step_ = 0;
};

void letOthersRun() {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
}

TEST(StbSimpleMutex, IsRecursiveAndOneOwnersAlone) {
    StbSimpleMutex mutex;
    Stage stage;
    mutex.lock();
    mutex.lock();
    std::thread other([&] {
        mutex.unlock(); // not the owner: does nothing
        mutex.lock();
        stage.reach(1);
        mutex.unlock();
    });
    letOthersRun();
    mutex.unlock();
    letOthersRun();
    EXPECT_EQ(stage.step(), 0) << "one level is still held";
    mutex.unlock();
    other.join();
    EXPECT_EQ(stage.step(), 1);
}

TEST(StbSimpleMutex, TellsTheNextOwnerThatItWasAbandonedAndServesTheRest) {
    StbSimpleMutex mutex;
    std::thread([&] { mutex.lock(); }).join();
    std::atomic<int> told{0};
    std::atomic<int> served{0};
    std::atomic<int> inside{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 3; ++i) {
        waiters.emplace_back([&] {
            try {
                mutex.lock();
            } catch (const StbThreadException& failure) {
                EXPECT_EQ(failure.getCode(), 3);
                ++told;
            }
            EXPECT_EQ(++inside, 1) << "told or not, it owns the lock";
            letOthersRun();
            --inside;
            ++served;
            mutex.unlock();
        });
    }
    for (std::thread& waiter : waiters) {
        waiter.join();
    }
    EXPECT_EQ(told, 1);
    EXPECT_EQ(served, 3);
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

} // namespace
