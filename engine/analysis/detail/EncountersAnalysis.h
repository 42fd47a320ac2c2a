#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_ENCOUNTERSANALYSIS_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_ENCOUNTERSANALYSIS_H

#include "engine/analysis/Analysis.h"
#include "engine/analysis/EncounterOptions.h"
#include "engine/analysis/detail/Encounters.h"
#include "engine/analysis/detail/Pair.h"

#include "qorvel/base/FlatTable.h"

#include <atomic>
#include <cstdint>

namespace qorvel_engine::detail {

/// Who was with whom: encounters, or the sums of each pair.
///
/// Two entities are near at a fix of either when the other is then within the distance; see
/// MomentFinder for where it is, also with `fixesOnly`. Such moments at most `apart` apart are one
/// encounter. Pairs that were together longest come first, then the earliest.
///
/// Memory: fixes until no row to come lies in their time; encounters under way; with `pairs`, the
/// pairs. A fix that comes later all the same meets nobody, and is told.
class EncountersAnalysis : public Analysis {
public:
    /// Throws the Fault `badConfiguration` for options that cannot be.
    explicit EncountersAnalysis(const EncounterOptions& options);

    ResultTable makeTable(std::shared_ptr<const EntityNames> names) const override;
    std::unique_ptr<Shard> makeShard() const override;
    std::int64_t lookBack() const override { return options_.apart; }
    bool dependsOnOrder() const override { return false; }
    void watch(const std::atomic<bool>& cancelled) override { encounters_.watch(cancelled); }
    void useThreads(unsigned threads) override { encounters_.useThreads(threads); }
    void see(const SeenFix& fix) override;
    void collect(std::int64_t time, const EntityNames& names, LastResults& results) override;
    void finish(const EntityNames& names, LastResults& results) override;
    bool isByEntity() const override { return false; }
    void save(StateWriter& out) const override;
    void load(StateReader& in, std::uint64_t entities) override;
    std::vector<Remark> remarks() const override;

private:
    /// What a pair's encounters come to.
    struct Sum {
        std::int64_t encounters = 0;
        std::int64_t duration = 0; ///< ms
        std::int64_t first = 0;    ///< ms since 1970 UTC
        std::int64_t last = 0;     ///< ms since 1970 UTC
    };
    using Sums = qorvel_detail::FlatTable<PairSlot<Sum>>; ///< names in their order

    Encounters::Sink sinkFor(LastResults& results);
    void sum(const Encounter& encounter);
    void addPairs(const NameOrder& isBefore, LastResults& results) const;

    const EncounterOptions options_;
    Encounters encounters_;
    Sums sums_;
};

} // namespace qorvel_engine::detail

#endif
