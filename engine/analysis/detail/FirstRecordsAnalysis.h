#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_FIRSTRECORDSANALYSIS_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_FIRSTRECORDSANALYSIS_H

#include "engine/analysis/Analysis.h"
#include "engine/analysis/detail/processors.h"

namespace qorvel_engine::detail {

/// What a processor reports, when it reports it: each entity, cell and time box once, with the
/// figures of that moment. A Result is a PresenceResult or a HangoutResult.
template <class Result>
class FirstRecordsAnalysis : public Analysis {
public:
    /// The tables are for presence or hangouts.
    explicit FirstRecordsAnalysis(const Tables& tables)
        : tables_(tables),
          processor_(makeProcessor(tables, qorvel_port::FigureProcessor::Wanted::first)) {}

    ResultTable makeTable(std::shared_ptr<const EntityNames> names) const override;
    std::unique_ptr<Shard> makeShard() const override;
    std::int64_t lookBack() const override { return tables_.lookBack(); }

private:
    const Tables& tables_;
    const qorvel_port::FigureProcessor processor_; ///< after which those of the shards are made
};

} // namespace qorvel_engine::detail

#endif
