#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_MEETINGSANALYSIS_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_MEETINGSANALYSIS_H

#include "engine/analysis/Analysis.h"
#include "engine/analysis/detail/Meetings.h"
#include "engine/setup/Tables.h"

namespace qorvel_engine::detail {

/// Who was with whom: the pairs of different entities that share a space-time box.
///
/// `boxes` counts the distinct boxes that a pair shares. Two who are close share several at the
/// same time, since a fix lies in each cell that its accuracy reaches; `time_boxes` counts the
/// distinct stretches of time among them. `first_time` and `last_time` are the earliest and the
/// latest of the times at which the second of the two was first seen in a shared box. The cell is
/// that of the first box shared. Pairs that share the most boxes come first, then the earliest.
///
/// In a box that already has the largest number of entities, others make no pairs.
///
/// Memory: a box is forgotten when no fix to come lies in it. Somebody who comes to it later all
/// the same meets nobody who was there before, and two such count the box once more. Pairs are
/// kept, some two hundred bytes each.
class MeetingsAnalysis : public Analysis {
public:
    /// The tables are for boxes.
    MeetingsAnalysis(const Tables& tables, std::uint32_t maxEntitiesPerBox)
        : tables_(tables), maxEntitiesPerBox_(maxEntitiesPerBox), meetings_(maxEntitiesPerBox) {}

    ResultTable makeTable(std::shared_ptr<const EntityNames> names) const override;
    std::unique_ptr<Shard> makeShard() const override;
    std::int64_t lookBack() const override;
    bool dependsOnOrder() const override { return false; }
    void see(const SeenBox& box) override { meetings_.see(box); }
    void collect(std::int64_t time) override { meetings_.collect(time); }
    void finish(const EntityNames& names, LastResults& results) override;
    std::vector<std::string> remarks() const override;

private:
    const Tables& tables_;
    const std::uint32_t maxEntitiesPerBox_;
    Meetings meetings_;
};

} // namespace qorvel_engine::detail

#endif
