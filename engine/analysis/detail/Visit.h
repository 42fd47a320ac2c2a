#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_VISIT_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_VISIT_H

#include "engine/analysis/detail/Fixes.h"
#include "engine/analysis/detail/Period.h"

#include "qorvel/geohash/SpaceBox.h"
#include "qorvel/processor/detail/FigureProcessor.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace qorvel_engine::detail {

/// The records of one cell that belong together.
struct Visit {
    SpaceBox cell;
    std::int64_t window;          ///< of the spec that found it, ms
    std::uint64_t row;            ///< that established it
    Period covered;               ///< by the records
    Period near;                  ///< without an absence, whether or not records cover it
    std::optional<Period> away{}; ///< the fixes elsewhere since the last one near
    std::vector<Fixes> pieces{};  ///< what the records cover, in ascending order

    /// An entity that was silent for longer than series remember has left; then the visit does not
    /// go on.
    void addNear(std::int64_t time, std::int64_t memory);
    void addAway(std::int64_t time);

    /// An entity that was elsewhere for as long as the window has left, too.
    bool isOver() const { return away && away->length() >= window; }

    /// Takes what a record covers; its sequence numbers are numbers of fixes.
    void cover(const qorvel_port::Figures& record);

    Fixes hull() const { return {pieces.front().first, pieces.back().end}; }
    std::uint64_t fixCount() const;

private:
    void add(std::uint64_t fix);
};

/// Do they share at least half of the fixes of the shorter? Cells that share fixes lie side by
/// side, or about the one that the fixes are in, which shares them too.
bool areOfOneStop(const Visit& a, const Visit& b);

} // namespace qorvel_engine::detail

#endif
