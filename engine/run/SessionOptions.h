#ifndef QORVEL_ENGINE_RUN_SESSIONOPTIONS_H
#define QORVEL_ENGINE_RUN_SESSIONOPTIONS_H

#include "engine/run/Renderer.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>

namespace qorvel_engine {

/// As SessionOptions::late: nothing is ever forgotten.
inline constexpr std::int64_t kEver = std::numeric_limits<std::int64_t>::max();

/// How a session works. No result depends on the number of threads.
struct SessionOptions {
    unsigned threads = 1;            ///< 1 to 256, the caller's counted
    double defaultTolerance = 30.0;  ///< metres, where a row has no accuracy
    std::uint32_t timeTolerance = 0; ///< ms, 0 or 1

    /// How far a row may lie behind the newest one before it, ms, from 0; none: a day, but for rows
    /// of which the caller knows better (see Session::push). What only later rows could continue is
    /// forgotten.
    ///
    /// For stays and places, behind the newest one of its own entity before it; none: an hour, with
    /// the same exception. Rows are put in order as far as that, and later ones are left out.
    std::optional<std::int64_t> late;

    /// Presence and hangouts: is also forgotten, on the way, which records were given, of those
    /// that only a row later than `late`, or older than is known, could bring again? Then a stream
    /// that goes on for ever takes memory only for what is under way. For such a row a record may
    /// be given again. Otherwise it is remembered for ever, see Session::forgetReportedBefore.
    bool forgetsReported = false;

    /// Null: results are handed on as tables.
    std::shared_ptr<const Renderer> renderer;
};

} // namespace qorvel_engine

#endif
