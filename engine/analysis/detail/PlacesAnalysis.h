#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_PLACESANALYSIS_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_PLACESANALYSIS_H

#include "engine/analysis/Analysis.h"
#include "engine/analysis/PlaceOptions.h"
#include "engine/analysis/StayOptions.h"
#include "engine/analysis/detail/StayFinder.h"

namespace qorvel_engine::detail {

/// Where entities stay again and again: their stays, gathered into places, see PlaceGatherer. They
/// are known at the end, and come in the order of the entities' first rows, of each the one with
/// the most hours first.
///
/// Memory: that of a StayFinder, and the places.
class PlacesAnalysis : public Analysis {
public:
    /// Throws the Fault `badConfiguration` for options that cannot be.
    PlacesAnalysis(const StayOptions& stays, const PlaceOptions& places);

    ResultTable makeTable(std::shared_ptr<const EntityNames> names) const override;
    std::unique_ptr<Shard> makeShard() const override;
    std::int64_t lookBack() const override { return 0; }
    bool dependsOnOrder() const override { return false; }
    std::optional<std::int64_t> lateInEntity() const override { return kLateStays; }
    std::optional<double> worstAccuracy() const override { return stays_.maxAccuracy; }

private:
    const StayOptions stays_;
    const PlaceOptions places_;
};

} // namespace qorvel_engine::detail

#endif
