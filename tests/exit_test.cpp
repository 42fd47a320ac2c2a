// The end of a process: nothing of the library is torn down before its last caller is gone. The
// host is not linked with the library but loads it, each time in a process of its own.

#include <atomic>
#include <cstdlib>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <thread>

namespace {

bool (*useLibrary)(int) = nullptr;
std::atomic<int> calls = 0;

bool call() {
    return useLibrary(++calls % 1000);
}

/// Ends the process with the library in use by an exit handler that runs when what the library
/// might have torn down is gone, and by threads that nobody waits for.
[[noreturn]] void exitWith(int threads) {
    static const int callers = threads;
    std::atexit([] {
        for (const int last = calls + 2000; calls < last;) {
            if (callers == 0 && !call()) {
                std::_Exit(1);
            }
            std::this_thread::yield();
        }
    });
    void* const host = dlopen(QORVEL_LATE_HOST, RTLD_NOW);
    useLibrary = reinterpret_cast<bool (*)(int)>(dlsym(host, "useLibrary"));
    for (int i = 0; i < threads; ++i) {
        std::thread([] {
            while (call()) {
            }
            std::_Exit(2);
        }).detach();
    }
    std::exit(call() ? 0 : 3);
}

TEST(ExitDeathTest, HandlersAndThreadsGoOnCalling) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(exitWith(0), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(exitWith(4), testing::ExitedWithCode(0), "");
}

} // namespace
