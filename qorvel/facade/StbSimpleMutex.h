#ifndef QORVEL_FACADE_STBSIMPLEMUTEX_H
#define QORVEL_FACADE_STBSIMPLEMUTEX_H

#include "qorvel/config.h"

#include <memory>

QORVEL_BEGIN_NAMESPACE

/// A recursive mutex of one process that notices when its owner is gone.
///
/// A thread that ends while it owns the mutex abandons it. The next thread to take it is told so by
/// an exception and owns the mutex all the same; whoever waits after that gets its ordinary turn
/// once that thread has unlocked or ended.
class QORVEL_EXPORT StbSimpleMutex {
public:
    /// Throws StbThreadException, code 3, when the system gives no mutex; std::bad_alloc when
    /// memory runs out.
    StbSimpleMutex();

    /// Gives up every level that the destroying thread still holds. A mutex that another live
    /// thread holds is leaked: freeing it would corrupt that thread.
    ~StbSimpleMutex();

    StbSimpleMutex(const StbSimpleMutex&) = delete;
    StbSimpleMutex& operator=(const StbSimpleMutex&) = delete;

    /// Waits without a time-out. The owner may call again; each call wants an unlock of its own.
    /// Throws StbThreadException, code 3, when the last owner ended without unlocking (the caller
    /// then owns the mutex nevertheless) or when the wait fails.
    void lock();

    /// Gives up one level. A call by a thread that is not the owner does nothing.
    void unlock();

private:
    class Holder;
    std::unique_ptr<Holder> holder_;
};

QORVEL_END_NAMESPACE

#endif
