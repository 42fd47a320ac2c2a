#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_TRACK_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_TRACK_H

#include "engine/analysis/detail/Stay.h"
#include "engine/analysis/detail/Visit.h"

#include "qorvel/model/Event.h"
#include "qorvel/processor/detail/FigureProcessor.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qorvel_engine::detail {

/// The visits of one entity at one resolution, as far as they are not yet stays. What becomes of
/// them hangs on the entity's fixes alone, not on when some are settled.
class Track {
public:
    /// A fix and the cells that it is near. Its records come after it.
    /// @param memory  how long series remember, ms
    void addFix(const Event& event, const std::vector<SpaceBox>& near, std::int64_t memory);

    /// A record of the newest fix; its sequence numbers are numbers of fixes.
    /// @param row  the number of the fix in the input
    void add(const qorvel_port::Figures& record, const Event& newest, std::uint64_t row);

    /// Are there so many visits that it is worth it to settle some?
    bool isCrowded() const { return visits_.size() >= settleAt_; }

    /// Makes stays of the visits that nothing to come can change: neither goes on with them nor
    /// shares fixes with them.
    /// @param time         only visits that were near after it can be gone on with
    /// @param firstNeeded  other visits to come have fixes from this one on
    void settle(std::int64_t time, std::uint64_t firstNeeded, const Owner& owner,
                std::vector<Stay>& stays);

    /// The same for all that there are.
    void settleAll(const Owner& owner, std::vector<Stay>& stays);

private:
    static constexpr std::size_t kFewVisits = 8;
    /// Nine cells at most are near at once; the visits to others that may still be gone on with are
    /// few.
    static constexpr std::size_t kMostCurrent = 24;

    Visit& visitOf(const qorvel_port::Figures& record, std::int64_t time, std::uint64_t row);
    void endOldest();
    std::vector<std::size_t> findStops() const;
    template <class IsKept>
    void keep(IsKept isKept);

    std::vector<Visit> visits_;         ///< in the order of their beginnings
    std::vector<std::size_t> current_;  ///< those that can be gone on with, ascending
    std::size_t settleAt_ = kFewVisits; ///< when there are so many visits that it is worth it
};

} // namespace qorvel_engine::detail

#endif
