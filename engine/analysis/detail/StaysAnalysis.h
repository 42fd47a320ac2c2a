#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_STAYSANALYSIS_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_STAYSANALYSIS_H

#include "engine/analysis/Analysis.h"
#include "engine/analysis/StayOptions.h"
#include "engine/analysis/detail/StayFinder.h"

namespace qorvel_engine::detail {

/// Who stayed where, from when to when: see StayDetector.
///
/// The fixes of an entity are taken in the order of time, those of the same time by latitude,
/// longitude and accuracy; keys are nothing to them. So the order of the input does not matter as
/// far as it may be out of order, and what comes out for an entity hangs on its fixes alone. Memory
/// is that of a StayFinder.
class StaysAnalysis : public Analysis {
public:
    /// Throws the Fault `badConfiguration` for options that cannot be.
    explicit StaysAnalysis(const StayOptions& options);

    ResultTable makeTable(std::shared_ptr<const EntityNames> names) const override;
    std::unique_ptr<Shard> makeShard() const override;
    std::int64_t lookBack() const override { return 0; }
    bool dependsOnOrder() const override { return false; }

    std::optional<std::int64_t> lateInEntity() const override { return kLateStays; }
    std::optional<double> worstAccuracy() const override { return options_.maxAccuracy; }

private:
    const StayOptions options_;
};

} // namespace qorvel_engine::detail

#endif
