#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_LASTRECORDSANALYSIS_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_LASTRECORDSANALYSIS_H

#include "engine/analysis/Analysis.h"
#include "engine/analysis/detail/processors.h"

namespace qorvel_engine::detail {

/// The last figures of each entity, cell and time box: those of the last event that goes on with
/// the record. They come when no row to come can, in the order of the times from which that is so,
/// and those of one time in the order of their first reports. A Result is a PresenceResult or a
/// HangoutResult.
///
/// Memory: the figures of each record that rows to come can change.
template <class Result>
class LastRecordsAnalysis : public Analysis {
public:
    /// The tables are for presence or hangouts.
    explicit LastRecordsAnalysis(const Tables& tables)
        : tables_(tables),
          processor_(makeProcessor(tables, qorvel_port::FigureProcessor::Wanted::every)) {}

    ResultTable makeTable(std::shared_ptr<const EntityNames> names) const override;
    std::unique_ptr<Shard> makeShard() const override;
    std::int64_t lookBack() const override { return tables_.lookBack(); }

private:
    const Tables& tables_;
    const qorvel_port::FigureProcessor processor_; ///< after which those of the shards are made
};

} // namespace qorvel_engine::detail

#endif
