#include "engine/analysis/detail/ThreadGroup.h"

#include <system_error>

namespace qorvel_engine::detail {

ThreadGroup::~ThreadGroup() {
    isOver_ = true;
    join();
}

void ThreadGroup::add(const std::function<void()>& work) {
    try {
        threads_.emplace_back([this, work] { run(work); });
    } catch (const std::system_error&) {
        // The others do it.
    }
}

void ThreadGroup::finish(const std::function<void()>& work) {
    run(work);
    join();
    if (trouble_ != nullptr) {
        std::rethrow_exception(trouble_);
    }
}

void ThreadGroup::run(const std::function<void()>& work) noexcept {
    try {
        work();
    } catch (...) {
        const std::lock_guard lock(mutex_);
        if (trouble_ == nullptr) {
            trouble_ = std::current_exception();
        }
        isOver_ = true;
    }
}

void ThreadGroup::join() noexcept {
    for (std::thread& thread : threads_) {
        thread.join();
    }
    threads_.clear();
}

} // namespace qorvel_engine::detail
