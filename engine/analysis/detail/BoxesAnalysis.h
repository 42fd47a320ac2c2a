#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_BOXESANALYSIS_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_BOXESANALYSIS_H

#include "engine/analysis/Analysis.h"
#include "engine/analysis/detail/processors.h"

namespace qorvel_engine::detail {

/// Every box of every event.
class BoxesAnalysis : public Analysis {
public:
    /// The tables are for boxes.
    explicit BoxesAnalysis(const Tables& tables) : processor_(makeBoxProcessor(tables)) {}

    ResultTable makeTable(std::shared_ptr<const EntityNames> names) const override;
    std::unique_ptr<Shard> makeShard() const override;
    std::int64_t lookBack() const override { return -1; }
    bool dependsOnOrder() const override { return false; }

private:
    const qorvel_port::FigureProcessor processor_; ///< after which those of the shards are made
};

} // namespace qorvel_engine::detail

#endif
