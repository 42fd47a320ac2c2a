#include "engine/run/detail/LastFault.h"

#include <cerrno>

namespace qorvel_engine::detail {

namespace {

constexpr qorvel_engine_fault kNone{0, "", "", 0};
constexpr qorvel_engine_fault kOutOfMemory{QORVEL_ENGINE_OUT_OF_MEMORY, "Memory has run out.", "",
                                           0};
constexpr qorvel_engine_fault kInternal{QORVEL_ENGINE_INTERNAL, "The engine has failed.", "", 0};

} // namespace

int LastFault::asErrno() const noexcept {
    switch (told_.code) {
    case 0:
        return 0;
    case QORVEL_ENGINE_OUT_OF_MEMORY:
        return ENOMEM;
    case QORVEL_ENGINE_CANCELLED:
        return ECANCELED;
    case QORVEL_ENGINE_INTERNAL:
        return EIO;
    default:
        return EINVAL;
    }
}

const qorvel_engine_fault& LastFault::outOfMemory() noexcept {
    return kOutOfMemory;
}

void LastFault::forget() noexcept {
    told_ = kNone;
    fault_.reset();
}

/// The exception that is being handled.
void LastFault::keepCurrent() noexcept {
    try {
        throw;
    } catch (const Fault& fault) {
        fault_.emplace(fault);
        told_ = {static_cast<std::int32_t>(fault_->code()), fault_->what(), fault_->tags().c_str(),
                 fault_->line()};
    } catch (const std::bad_alloc&) {
        told_ = kOutOfMemory;
    } catch (...) {
        told_ = kInternal;
    }
}

} // namespace qorvel_engine::detail
