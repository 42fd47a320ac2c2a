#ifndef QORVEL_ENGINE_ANALYSIS_ENCOUNTEROPTIONS_H
#define QORVEL_ENGINE_ANALYSIS_ENCOUNTEROPTIONS_H

#include <cstdint>
#include <limits>

namespace qorvel_engine {

/// When two entities are together.
struct EncounterOptions {
    /// How far one may be from the other, metres, above 0 and at most 100,000. 50: within sight and
    /// call, with the noise of two devices.
    double within = 50.0;

    /// How far in time two fixes may lie apart for what is between them to be known, ms, from 1 to
    /// a day. 5 minutes: in a longer silence somebody can go elsewhere and come back.
    std::int64_t apart = 300'000;

    /// Nothing is taken to be known between fixes: a fix of either is a moment at which two are
    /// together when the other has a fix within `within` of it, up to `apart` before or after. The
    /// distance then is that to the nearest of these; where it is least, at the first such moment,
    /// is the encounter's place. `fixes` are these moments, of both.
    bool fixesOnly = false;

    /// Shorter encounters are left out, ms, from 0.
    std::int64_t minDuration = 0;

    /// The sums of each pair, at the end, instead of its encounters.
    bool pairs = false;

    /// The first and the last ms whose fixes count. Fixes before and after that only tell where
    /// their entity was, up to `apart` away. So many processes can look at a part of the time each:
    /// an encounter that goes on over a border is found in pieces, which lie at most `apart` apart.
    std::int64_t first = 0;
    std::int64_t last = std::numeric_limits<std::int64_t>::max();
};

} // namespace qorvel_engine

#endif
