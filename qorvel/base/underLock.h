#ifndef QORVEL_BASE_UNDERLOCK_H
#define QORVEL_BASE_UNDERLOCK_H

#include <type_traits>

namespace qorvel_detail {

/// Locks, runs `work`, unlocks, and returns what it returned. Deliberately without a guard: an
/// exception leaves the lock with this thread, so that no other thread goes on, unwarned, with what
/// was left halfway.
template <typename Lock, typename Work>
auto underLock(Lock& lock, Work work) {
    lock.lock();
    if constexpr (std::is_void_v<decltype(work())>) {
        work();
        lock.unlock();
    } else {
        const auto result = work();
        lock.unlock();
        return result;
    }
}

} // namespace qorvel_detail

#endif
