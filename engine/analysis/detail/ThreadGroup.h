#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_THREADGROUP_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_THREADGROUP_H

#include <atomic>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace qorvel_engine::detail {

/// Threads that share a piece of work with the calling one. Each call takes what is left of it, so
/// that nothing is left out where the system gives no thread. The first exception ends all.
class ThreadGroup {
public:
    /// @param isOver  set by an exception; the work looks at it
    explicit ThreadGroup(std::atomic<bool>& isOver) : isOver_(isOver) {}
    ThreadGroup(const ThreadGroup&) = delete;
    ThreadGroup& operator=(const ThreadGroup&) = delete;
    ~ThreadGroup();

    /// Does the work in another thread, if there is one.
    void add(const std::function<void()>& work);

    /// Does it in this one, waits for the others, and throws what any of them threw first.
    void finish(const std::function<void()>& work);

private:
    void run(const std::function<void()>& work) noexcept;
    void join() noexcept;

    std::atomic<bool>& isOver_;
    std::mutex mutex_; ///< guards the next
    std::exception_ptr trouble_;
    std::vector<std::thread> threads_;
};

} // namespace qorvel_engine::detail

#endif
