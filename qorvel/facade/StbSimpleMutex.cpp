#include "qorvel/facade/StbSimpleMutex.h"

#include "qorvel/facade/StbThreadException.h"

#ifdef _WIN32
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>
#else
#include <cerrno>
#include <pthread.h>
#endif

QORVEL_BEGIN_NAMESPACE

namespace {

constexpr std::int32_t kLockFailure = 3;

} // namespace

#ifdef _WIN32

/// Win32 mutexes are recursive, and a wait reports that the owner is gone.
class StbSimpleMutex::Holder {
public:
    Holder() : handle_(CreateMutexA(nullptr, FALSE, nullptr)) {
        if (handle_ == nullptr) {
            throw StbThreadException(kLockFailure);
        }
    }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;
    ~Holder() { CloseHandle(handle_); }

    bool lock() { return WaitForSingleObject(handle_, INFINITE) == WAIT_OBJECT_0; }
    void unlock() { ReleaseMutex(handle_); }

    /// A closed handle harms no owner.
    bool relinquish() { return true; }

private:
    HANDLE handle_;
};

#else

/// A recursive, robust POSIX mutex.
class StbSimpleMutex::Holder {
public:
    Holder() {
        pthread_mutexattr_t attributes;
        bool made = pthread_mutexattr_init(&attributes) == 0;
        if (made) {
            made = pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE) == 0 &&
                   pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST) == 0 &&
                   pthread_mutex_init(&mutex_, &attributes) == 0;
            pthread_mutexattr_destroy(&attributes);
        }
        if (!made) {
            throw StbThreadException(kLockFailure);
        }
    }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;
    ~Holder() { pthread_mutex_destroy(&mutex_); }

    bool lock() {
        const int result = pthread_mutex_lock(&mutex_);
        takeOverIfAbandoned(result);
        return result == 0;
    }

    void unlock() { pthread_mutex_unlock(&mutex_); }

    /// Gives up all levels of the calling thread; false when another live thread is the owner. A
    /// held robust mutex stays on its thread's list, so it must not be destroyed or freed.
    bool relinquish() {
        const int result = pthread_mutex_trylock(&mutex_);
        takeOverIfAbandoned(result);
        if (result == EBUSY) {
            return false;
        }
        while (pthread_mutex_unlock(&mutex_) == 0) {
        }
        return true;
    }

private:
    /// Without this the mutex would refuse everyone from now on.
    void takeOverIfAbandoned(int result) {
        if (result == EOWNERDEAD) {
            pthread_mutex_consistent(&mutex_);
        }
    }

    pthread_mutex_t mutex_;
};

#endif

StbSimpleMutex::StbSimpleMutex() : holder_(std::make_unique<Holder>()) {}

StbSimpleMutex::~StbSimpleMutex() {
    if (!holder_->relinquish()) {
        static_cast<void>(holder_.release());
    }
}

void StbSimpleMutex::lock() {
    if (!holder_->lock()) {
        throw StbThreadException(kLockFailure);
    }
}

void StbSimpleMutex::unlock() {
    holder_->unlock();
}

QORVEL_END_NAMESPACE
