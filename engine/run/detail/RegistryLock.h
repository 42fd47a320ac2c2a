#ifndef QORVEL_ENGINE_RUN_DETAIL_REGISTRYLOCK_H
#define QORVEL_ENGINE_RUN_DETAIL_REGISTRYLOCK_H

#include "qorvel/facade/QorvelMotionProcessorAPI.h"
#include "qorvel/facade/StbThreadException.h"

#include <exception>

namespace qorvel_engine::detail {

/// The library's process-wide lock, for registering names. The library keeps its lock when memory
/// runs out, so that nobody goes on unwarned; but registries stay as they were, so there is nothing
/// to warn of, and other sessions must not wait until this thread ends.
class RegistryLock {
public:
    RegistryLock() {
        try {
            lock_.lock();
        } catch (const qorvel::StbThreadException&) {
            // A thread ended with the lock; now it is this one's.
        }
    }
    RegistryLock(const RegistryLock&) = delete;
    RegistryLock& operator=(const RegistryLock&) = delete;
    ~RegistryLock() {
        lock_.unlock();
        if (std::uncaught_exceptions() > exceptions_) {
            lock_.unlock(); // the level that the library kept; nothing if it kept none
        }
    }

private:
    qorvel::StbSimpleMutex& lock_ = *qorvel::QorvelMotionProcessorAPI::__stbMutex;
    int exceptions_ = std::uncaught_exceptions();
};

} // namespace qorvel_engine::detail

#endif
