#ifndef QORVEL_ENGINE_RUN_DETAIL_INTAKE_H
#define QORVEL_ENGINE_RUN_DETAIL_INTAKE_H

#include "engine/analysis/Analysis.h"
#include "engine/analysis/detail/state.h"
#include "engine/columns/EntityDictionary.h"
#include "engine/run/InputFigures.h"
#include "engine/run/Reject.h"
#include "engine/run/SessionOptions.h"
#include "engine/run/detail/Batch.h"
#include "engine/run/detail/Counters.h"
#include "engine/run/detail/DictionaryNumbers.h"
#include "engine/run/detail/EntityHorizons.h"
#include "engine/run/detail/Horizon.h"
#include "engine/run/detail/IntervalCounts.h"
#include "engine/run/detail/KeyNumbers.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace qorvel_engine::detail {

/// Numbers rows, entities and keys, sorts out bad rows and says what may be forgotten when.
class Intake {
public:
    Intake(KeyNumbers keys, const Analysis& analysis, const SessionOptions& options,
           Counters& counters);

    /// Throws the Fault `misuse` if entities are called otherwise than before.
    void expect(EntityKind kind);

    /// What entities are called; null before the first call of expect().
    const std::shared_ptr<EntityDictionary>& names() const { return names_; }

    /// Rows of other columns come next.
    void begin(const Observations& observations);

    /// Takes the batch's columns from one row to before another. Calls come in the order of the
    /// rows, of which none is left out.
    void fill(Batch& batch, std::int64_t from, std::int64_t to, bool isOldestKnown);

    /// No row after this batch lies before that time.
    void know(Batch& batch, std::int64_t oldestToCome);

    /// Of the rows so far.
    InputFigures figures() const;

    /// Those since the last call.
    std::vector<Reject> takeRejects();
    bool hasRejects() const { return !rejects_.empty(); }

    // For states: what it knows of the rows so far, and of each entity. Of an entity that comes
    // from elsewhere, what is known there and here is joined.

    void save(StateWriter& out) const;
    void load(StateReader& in);
    void saveEntity(std::uint64_t eid, StateWriter& out) const;
    /// Its number, a new one if it is not known yet.
    std::uint64_t loadEntity(StateReader& in);
    void forgetEntity(std::uint64_t eid);

    /// The same, as before the first call of expect(): it knows no entity.
    Intake withoutEntities() const;

private:
    /// Calls with the place of each row that can be used; the others are rejected.
    template <class Take>
    void forEachGood(const Observations& columns, std::int64_t from, std::int64_t to,
                     const Take& take);
    void fillTable(Batch& batch, std::int64_t from, std::int64_t to);
    void fillEntries(Batch& batch, std::int64_t from, std::int64_t to, bool isOldestKnown);
    std::int32_t primaryKeyOf(const Observations& columns, std::int64_t row);
    std::int32_t secondaryKeyOf(const Observations& columns, std::int64_t row);
    void setEntry(Batch::Entry& entry, const Observations& columns, std::int64_t row);
    std::uint64_t entityOf(const Observations& columns, std::int64_t row);
    void judge(Batch::Entry& entry, std::int64_t time, bool isOldestKnown);
    void countTime(std::uint64_t eid, std::int64_t time);
    void countAccuracy(const Observations& columns, std::int64_t row);
    void collect(Batch& batch);
    std::optional<std::int64_t> reportedBefore(std::int64_t needless) const;

    KeyNumbers keys_;
    Horizon horizon_;
    std::optional<EntityHorizons> entityHorizons_; ///< where the analysis asks for them
    bool forgetsReported_;
    std::int64_t lookBack_; ///< ms, how far before a row's time something may matter to it;
                            ///< negative: nothing is ever collected
    Counters& counters_;
    std::shared_ptr<EntityDictionary> names_;
    DictionaryNumbers entities_;
    DictionaryNumbers primaryKeys_;
    DictionaryNumbers secondaryKeys_;
    std::uint64_t rows_ = 0;
    std::vector<RowReason> reasons_; ///< kept for its memory
    std::uint64_t fills_ = 0;
    std::vector<Reject> rejects_;
    std::vector<std::int64_t> newest_; ///< by entity, the time of its rows so far
    IntervalCounts intervals_;
    double defaultAccuracy_;              ///< metres
    std::optional<double> worstAccuracy_; ///< metres, where others are left out
    std::uint64_t inaccurate_ = 0;
    std::int64_t collected_ = 0;     ///< what ended before it has been forgotten
    std::uint64_t collectedRow_ = 0; ///< how many rows there were then
};

} // namespace qorvel_engine::detail

#endif
