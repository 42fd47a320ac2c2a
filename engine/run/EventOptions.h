#ifndef QORVEL_ENGINE_RUN_EVENTOPTIONS_H
#define QORVEL_ENGINE_RUN_EVENTOPTIONS_H

#include <cstdint>

namespace qorvel_engine {

/// What the input does not say of a fix.
struct EventOptions {
    double defaultTolerance = 30.0;  ///< metres, where a row has no accuracy
    std::uint32_t timeTolerance = 0; ///< ms, 0 or 1
};

} // namespace qorvel_engine

#endif
