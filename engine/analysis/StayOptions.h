#ifndef QORVEL_ENGINE_ANALYSIS_STAYOPTIONS_H
#define QORVEL_ENGINE_ANALYSIS_STAYOPTIONS_H

#include <cstdint>

namespace qorvel_engine {

/// What a stay is: an entity within a radius of one place for long enough. One set of defaults is
/// meant for all sampling, from a fix a second to one every twenty minutes; docs/performance.md has
/// what they find.
struct StayOptions {
    /// How far from the stay's centre its fixes may lie, metres, above 0 and at most 100,000. 200:
    /// a large building with its grounds, and the noise of a poor device; places farther apart than
    /// that are told apart.
    double radius = 200.0;

    /// The least length of a stay, ms, from 0; its fixes have to show a third of it. 15 minutes:
    /// longer than one waits at a crossing or for a bus.
    std::int64_t minStay = 900'000;

    /// A longer silence ends a stay, unless the next fix is at the same place, ms, from 0. Half of
    /// one beside a stay is part of it, of this at most. One hour: a visit elsewhere takes longer.
    std::int64_t maxGap = 3'600'000;

    /// A silence longer than this ends it in any case, ms, at least maxGap. 24 hours: a device that
    /// is off at night, or for a day.
    std::int64_t maxBridge = 86'400'000;

    /// Fixes elsewhere end a stay when they go on for at least this long, ms, from 0. 5 minutes:
    /// longer than a device errs in a row, shorter than a visit elsewhere.
    std::int64_t maxAway = 300'000;

    /// A fix less accurate than this neither begins, ends nor moves a stay, metres, from 0.
    /// 200, as the radius: a worse one does not tell whether somebody is within it.
    double maxAccuracy = 200.0;

    /// The rows of each stay are wanted in place of the stays: see StayRowResult. Memory: 8 bytes
    /// for each fix of the stays under way.
    bool label = false;
};

} // namespace qorvel_engine

#endif
