#ifndef QORVEL_ENGINE_RUN_RUNFIGURES_H
#define QORVEL_ENGINE_RUN_RUNFIGURES_H

#include <cstdint>

namespace qorvel_engine {

/// How far a session is. While it works, the figures need not be of the same moment.
struct RunFigures {
    std::uint64_t pushed = 0;     ///< rows taken in, bad ones included
    std::uint64_t processed = 0;  ///< rows whose results are final
    std::uint64_t rejected = 0;   ///< rows that cannot be used
    std::uint64_t late = 0;       ///< rows older than was promised; for stays and places they are
                                  ///< left out
    std::uint64_t outOfOrder = 0; ///< rows older than one of their entity before them; counted only
                                  ///< where events are remembered
    std::uint64_t results = 0;    ///< that are final
};

} // namespace qorvel_engine

#endif
