#ifndef QORVEL_ENGINE_RUN_INPUTFIGURES_H
#define QORVEL_ENGINE_RUN_INPUTFIGURES_H

#include <cstdint>
#include <optional>

namespace qorvel_engine {

/// What the rows of a session are like, as far as it makes answers empty.
struct InputFigures {
    std::uint64_t entities = 0; ///< that have a row, bad ones included

    /// From a row to the next later one of its entity, the median, ms, right to 7 %; none where no
    /// entity has two, or events are not remembered.
    std::optional<std::int64_t> interval;

    /// Rows that are left out for being too inaccurate.
    std::uint64_t inaccurate = 0;
};

} // namespace qorvel_engine

#endif
