// Memory that runs out: every allocation of every call of the facade, and of streams of events, is
// made to fail once. The exception comes out as it is, what was being worked on stays usable,
// nothing is lost, and a lock stays with the thread that failed exactly where one was held.

#include "testing/model/compare.h"

#include "qorvel/qorvel.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <new>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

/// Allocations left on this thread until one fails; negative: none fails.
thread_local int allocationsLeft = -1;
std::atomic<bool> hasFailed = false;
std::atomic<std::size_t> liveBytes = 0; // with the headers, so a block of 0 counts too

/// In front of every block stands its size, in a header as wide as keeps the block aligned.
constexpr std::align_val_t kUsual{alignof(std::max_align_t)};

void* allocate(std::size_t size, std::align_val_t to = kUsual) noexcept {
    if (allocationsLeft-- == 0) { // one fails, and not those of whoever handles it
        hasFailed = true;
        return nullptr;
    }
    const auto header = static_cast<std::size_t>(to);
    const std::size_t all = (size + 2 * header - 1) / header * header;
    auto* const memory =
        static_cast<std::size_t*>(std::aligned_alloc(header, all)) + header / sizeof(std::size_t);
    memory[-1] = all;
    liveBytes += all;
    return memory;
}

void* allocateOrThrow(std::size_t size, std::align_val_t to = kUsual) {
    void* const memory = allocate(size, to);
    return memory != nullptr ? memory : throw std::bad_alloc();
}

void release(void* memory, std::align_val_t to = kUsual) noexcept {
    if (memory != nullptr) {
        liveBytes -= static_cast<std::size_t*>(memory)[-1];
        std::free(static_cast<char*>(memory) - static_cast<std::size_t>(to));
    }
}

} // namespace

// The library's allocations come here too: it leaves these operators to whoever loads it. The forms
// that the standard library would forward are replaced as well, since the sanitizers bring theirs.
// clang-format off
void* operator new(std::size_t size) { return allocateOrThrow(size); }
void* operator new[](std::size_t size) { return allocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void operator delete(void* memory) noexcept { release(memory); }
void operator delete[](void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { release(memory); }
void* operator new[](std::size_t size, std::align_val_t to) { return allocateOrThrow(size, to); }
void* operator new[](std::size_t size, std::align_val_t to, const std::nothrow_t&) noexcept { return allocate(size, to); }
void operator delete[](void* memory, std::align_val_t to) noexcept { release(memory, to); }
void operator delete[](void* memory, std::size_t, std::align_val_t to) noexcept { release(memory, to); }
// clang-format on

namespace {

using API = QorvelMotionProcessorAPI;

/// Where memory can run out in a call.
enum class Needs { nothing, memory, memoryUnderLock, memoryUnderLockToo };

struct Call {
    const char* name;
    Needs needs;
    std::function<void()> run;
    bool isExposed = false; ///< whether memory runs out in it
};
using Calls = std::vector<Call>;

const std::string kName = "a name that needs memory of its own";
const std::string kHangoutName = kName + ", for hangouts";
const std::string kPresenceName = kName + ", for presence";
const std::string kAny = "ANY";
const std::string kHours = "hours";
const std::string kMinutes = "minutes";
const std::list<std::string> kGeohashes = {"u", "u28"};

/// A configuration in which every event is a presence and a hangout.
struct World {
    const SpaceBox cell{UINT64_C(1), UINT64_C(2), 125U};
    std::list<STBMasterRow> masters{1};
    std::list<STBAssignmentRow> rows{1};
    std::list<STBCompressionSpec> specs{2};
    MotionProcessor processor;
    Event named;
    Event numbered;
    std::list<SpaceTimeBox> boxes;
    std::list<STBCompressedEvent> records;
    std::string text;
    double lat = 0.0;
    double lon = 0.0;
    int codes = 0;
    std::stringstream errors;

    /// When ageing leaves next to nothing, so that it gives room back.
    static bool isHourly(int minute) { return minute % 60 == 20; }

    void process(Event event, int minutesLater, bool asHangout) {
        event.time += minutesLater * 60000;
        event.spaceTolerance *= isHourly(minutesLater) ? 0.0 : 1.0; // without the cells around
        const auto call =
            asHangout ? &API::processEventForHangouts : &API::processEventForPresenceCompression;
        codes |= call(event, processor, records, errors);
    }

    /// Every call of the facade.
    Calls facade() {
        // clang-format off
        return {
            {"toString", Needs::memory, [this] {
                codes |= API::toString(cell, text, errors); }},
            {"getCentroid", Needs::nothing, [this] {
                codes |= API::getCentroid(cell, lat, lon, errors); }},
            {"createSTBMasterRow", Needs::memoryUnderLock, [this] {
                codes |= API::createSTBMasterRow(kName, 7, 1, kHours, masters.front(), errors); }},
            {"createSTBAssignmentRow", Needs::memoryUnderLockToo, [this] {
                codes |= API::createSTBAssignmentRow(kAny, kName, 100, 1, kName, kGeohashes, 48, 11,
                                                     2e7, 1, 1, rows.front(), errors); }},
            {"createHangoutSpec", Needs::memoryUnderLock, [this] {
                codes |= API::createHangoutSpec(kAny, kHangoutName, kName, 0, kHours, 1, 0,
                                                specs.front(), errors); }},
            {"createSTBCompressionSpec", Needs::memoryUnderLock, [this] {
                codes |= API::createSTBCompressionSpec(kAny, kPresenceName, kName, 30, kMinutes, 1,
                                                       0, specs.back(), errors); }},
            {"createEvent, named", Needs::memoryUnderLock, [this] {
                codes |= API::createEvent(kName, kName, kName, 48, 11, 90, 5000000, 0, named,
                                          errors); }},
            {"createEvent, numbered", Needs::memoryUnderLock, [this] {
                codes |= API::createEvent(kPresenceName, 7, kName, 48.1, 11.1, 90, 5000000, 0,
                                          numbered, errors); }},
            {"createMotionProcessorForSTBs", Needs::memory, [this] {
                codes |= API::createMotionProcessorForSTBs(masters, rows, processor, errors); }},
            {"createMotionProcessorForHangouts", Needs::memory, [this] {
                codes |= API::createMotionProcessorForHangouts(masters, rows, specs, processor,
                                                               errors); }},
            {"createMotionProcessorForPresenceCompression", Needs::memory, [this] {
                codes |= API::createMotionProcessorForPresenceCompression(masters, rows, specs,
                                                                          processor, errors); }},
            {"processEventForSTBs", Needs::memory, [this] {
                codes |= API::processEventForSTBs(named, processor, boxes, errors); }},
            {"processEventForHangouts", Needs::memoryUnderLockToo, [this] {
                process(named, 0, true); }},
            {"processEventForPresenceCompression", Needs::memoryUnderLockToo, [this] {
                process(named, 0, false); }},
            {"gc", Needs::nothing, [this] { codes |= API::gc(processor, named.time); }},
        };
        // clang-format on
    }

    /// Two entities by turns, across ends of hours, with ageing. The first one's calls are exposed.
    void appendStream(Calls& calls, bool asHangout, int fromMinute) {
        for (int minute = fromMinute; minute < fromMinute + 150; minute += 10) {
            const std::int64_t age = (isHourly(minute) ? minute : minute - 90) * 60000;
            calls.push_back({"", {}, [=, this] { process(named, minute, asHangout); }, true});
            calls.push_back({"", {}, [=, this] { process(numbered, minute, asHangout); }});
            calls.push_back({"", {}, [=, this] { API::gc(processor, named.time + age); }, true});
        }
    }

    /// What an entity had filed when memory ran out it keeps, and files again; until that is past,
    /// only its cells and boxes are told.
    void tell(std::ostream& state, bool isPast) {
        for (STBCompressedEvent& record : records) {
            if (record.eid == named.eid && !isPast) {
                record = {record.eid, {}, 0, 0, 0, record.stb, 0, 0, 0, 0, 0, 0, 0};
            }
        }
        state << codes << errors.str() << text << lat << lon << ' ' << named.sequenceNumber
              << numbered.sequenceNumber << processor.getDetectorCount() << ' '
              << processor.getRecentHangoutCount() << '\n'
              << model::describe(boxes) << model::describe(records);
        records.clear();
    }
};

/// What comes of one failure.
struct Outcome {
    bool failed;           ///< there was an allocation of that number
    bool threw;            ///< std::bad_alloc came out
    bool leftLocked;       ///< the thread ended with a lock
    char state[1U << 16U]; ///< the same wherever a failure may not show
};

bool isAbandoned(const std::function<void()>& use) {
    try {
        use();
        return false;
    } catch (const StbThreadException& failure) {
        return failure.getCode() == 3; // and now the lock is this thread's
    }
}

/// Runs the calls on a thread until the exposed calls' allocation of that number fails. The thread
/// repeats the call that failed and ends, while another one waits for the facade's lock; the rest
/// of the calls follow here.
void run(const Calls& calls, int allocation, const MotionProcessor& processor, Outcome& outcome) {
    auto next = calls.begin();
    std::atomic<bool> isWaiting = false;
    std::atomic<bool> isTold = false;
    bool isToldEarly = false;
    std::thread waiting;
    const auto wait = [&] {
        isWaiting = true;
        isTold = isAbandoned([] { API::__stbMutex->lock(); });
        API::__stbMutex->unlock();
    };
    std::thread([&] {
        try {
            for (; next != calls.end(); ++next) {
                allocationsLeft = next->isExposed ? allocation : -1;
                next->run();
                allocation = next->isExposed ? allocationsLeft : allocation;
            }
        } catch (const std::bad_alloc&) {                       // anything else ends the process
            const std::string name = EIDName::getEIDNameStr(0); // maybe registered by half
            outcome.threw = name.empty() || name == kName;
            waiting = std::thread(wait);
            while (!isWaiting) {
                std::this_thread::yield();
            }
            next->run(); // whatever lock it holds
            ++next;
            isToldEarly = isTold;
        }
        allocationsLeft = -1;
    }).join();
    if (waiting.joinable()) {
        waiting.join();
    }
    outcome.failed = hasFailed;
    outcome.leftLocked = (isTold && !isToldEarly) || isAbandoned([&] { processor.getItemCount(); });
    for (; next != calls.end(); ++next) {
        next->run();
    }
}

using Choose = std::function<Calls(World&)>;

/// The chosen calls, their results, and a later stream for which the earlier events are past.
void runWorld(const Choose& choose, int allocation, Outcome& outcome) {
    const std::size_t before = liveBytes;
    {
        World world;
        std::ostringstream state;
        run(choose(world), allocation, world.processor, outcome);
        world.tell(state, false);
        API::gc(world.processor, INT64_MAX);
        Calls later;
        world.appendStream(later, true, 3000);
        for (const Call& call : later) {
            call.run();
        }
        world.tell(state, true);
        state.str().copy(outcome.state, sizeof outcome.state - 32);
    }
    std::snprintf(outcome.state + std::strlen(outcome.state), 32, "%zu more", liveBytes - before);
}

/// How often a call failed, let an exception out, and left a lock held.
struct Failures {
    int all = 0;
    int thrown = 0;
    int locked = 0;
};

/// Each failure in a process of its own: a lock stays held, and names stay registered.
Failures failEveryAllocation(const Choose& choose) {
    void* const shared = mmap(nullptr, 2 * sizeof(Outcome), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    Outcome* const outcomes = static_cast<Outcome*>(shared); // of no failure, and of each
    Failures failures;
    for (int allocation = -1;; ++allocation) {
        Outcome& outcome = *new (&outcomes[allocation < 0 ? 0 : 1]) Outcome{};
        const pid_t child = fork();
        if (child == 0) {
            runWorld(choose, allocation, outcome);
            _exit(0);
        }
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0) << "crashed, or something else came out";
        EXPECT_STREQ(outcome.state, outcomes[0].state) << "after failure " << allocation;
        failures.all += outcome.failed ? 1 : 0;
        failures.thrown += outcome.threw ? 1 : 0;
        failures.locked += outcome.leftLocked ? 1 : 0;
        if ((allocation >= 0 && !outcome.failed) || testing::Test::HasFailure()) {
            munmap(shared, 2 * sizeof(Outcome));
            return failures;
        }
    }
}

TEST(Allocation, EveryCallOfTheFacadeCanFailAnywhere) {
    const Calls calls = World().facade();
    for (std::size_t i = 0; i < calls.size(); ++i) {
        SCOPED_TRACE(calls[i].name);
        const Failures failures = failEveryAllocation([&](World& world) {
            Calls exposed = world.facade();
            exposed[i].isExposed = true;
            return exposed;
        });
        const Needs needs = calls[i].needs;
        EXPECT_EQ(failures.all > 0, needs != Needs::nothing);
        EXPECT_EQ(failures.thrown, failures.all);
        EXPECT_EQ(failures.locked > 0,
                  needs == Needs::memoryUnderLock || needs == Needs::memoryUnderLockToo);
        EXPECT_TRUE(needs != Needs::memoryUnderLock || failures.locked == failures.all);
        RecordProperty(calls[i].name, failures.all);
    }
}

TEST(Allocation, StreamsGoOnAfterAnyFailure) {
    for (const bool asHangout : {true, false}) {
        const Failures failures = failEveryAllocation([&](World& world) {
            Calls calls = world.facade();
            world.appendStream(calls, asHangout, 10);
            return calls;
        });
        RecordProperty(asHangout ? "hangouts" : "presence", failures.all);
        EXPECT_GT(failures.all, 100);
        EXPECT_LT(failures.thrown, failures.all) << "ageing makes do without memory";
        EXPECT_GT(failures.locked, 0);
        EXPECT_LT(failures.locked, failures.thrown) << "some fail outside of any lock";
    }
}

} // namespace
