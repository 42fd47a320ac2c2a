#ifndef QORVEL_ENGINE_ANALYSIS_PLACEOPTIONS_H
#define QORVEL_ENGINE_ANALYSIS_PLACEOPTIONS_H

#include "engine/setup/TimeZone.h"

namespace qorvel_engine {

/// How places are told of. What they are is said by StayOptions: its radius is that of places, too.
struct PlaceOptions {
    /// Whose clocks tell nights and days of the week.
    TimeZone zone{};

    /// Names the likely home and work of each entity. Home is where it has the most hours by night,
    /// if there is an hour of them. Work is, of the other places, where it has the most hours of
    /// work, if there are two hours of them and a visit is an hour long on average.
    bool labels = false;
};

} // namespace qorvel_engine

#endif
