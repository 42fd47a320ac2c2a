#ifndef QORVEL_PYTHON_ATTENTION_H
#define QORVEL_PYTHON_ATTENTION_H

#include <chrono>
#include <cstdint>

namespace qorvel_python {

/// Looks now and then whether the user wants the end, in work that may take long.
class Attention {
public:
    static constexpr std::chrono::milliseconds kBetweenLooks{40};

    Attention() : nextLook_(std::chrono::steady_clock::now() + kBetweenLooks) {}

    /// At each step of a loop, which takes microseconds at most; with Python's lock or without it.
    /// Throws what a handler of signals raises, such as KeyboardInterrupt.
    void operator()() {
        if (++steps_ % kStepsPerGlance == 0 && isDue()) {
            look();
        }
    }

    /// Is it time to look? Then it is not again for a while.
    bool isDue();

    /// As the call, at once.
    static void look();

private:
    static constexpr std::uint64_t kStepsPerGlance = 1024; ///< at the clock

    std::chrono::steady_clock::time_point nextLook_;
    std::uint64_t steps_ = 0;
};

} // namespace qorvel_python

#endif
