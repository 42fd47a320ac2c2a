#ifndef QORVEL_ENGINE_RUN_DETAIL_LASTFAULT_H
#define QORVEL_ENGINE_RUN_DETAIL_LASTFAULT_H

#include "engine/columns/Fault.h"
#include "engine/qorvel_engine.h"

#include <new>
#include <optional>

namespace qorvel_engine::detail {

/// What went wrong in the last call from C. Nothing here throws or allocates.
class LastFault {
public:
    LastFault() noexcept { forget(); }
    LastFault(const LastFault&) = delete;
    LastFault& operator=(const LastFault&) = delete;

    /// Does the work of a call; an exception is kept, and its code returned, else 0.
    template <class Work>
    std::int32_t guard(const Work& work) noexcept {
        forget();
        try {
            work();
        } catch (...) {
            keepCurrent();
        }
        return told_.code;
    }

    const qorvel_engine_fault& told() const noexcept { return told_; }

    /// The sentence, or null.
    const char* sentence() const noexcept { return told_.code == 0 ? nullptr : told_.sentence; }

    /// The number of errno that comes nearest.
    int asErrno() const noexcept;

    /// Where not even this object could be made.
    static const qorvel_engine_fault& outOfMemory() noexcept;

private:
    void forget() noexcept;
    void keepCurrent() noexcept;

    std::optional<Fault> fault_; ///< holds the texts
    qorvel_engine_fault told_{};
};

} // namespace qorvel_engine::detail

#endif
