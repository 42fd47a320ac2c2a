#include "engine/run/detail/Intake.h"

#include "engine/columns/Fault.h"

#include <utility>

namespace qorvel_engine::detail {

void Intake::expect(EntityKind kind) {
    if (names_ == nullptr) {
        names_ = std::make_shared<EntityDictionary>(kind);
    } else if (names_->kind() != kind) {
        throw Fault(FaultCode::misuse, "The entities are called otherwise than in the first batch: "
                                       "by texts, or by integers with or without a sign.");
    }
}

void Intake::begin(const Observations& observations) {
    entities_.begin(observations.entities());
    primaryKeys_.begin(observations.primaryKeys());
    secondaryKeys_.begin(observations.secondaryKeys());
}

void Intake::fill(Batch& batch, std::int64_t from, std::int64_t to, bool isOldestKnown) {
    const Observations& columns = batch.columns;
    batch.firstRow = rows_ - static_cast<std::uint64_t>(from);
    for (std::int64_t row = from; row < to; ++row, ++rows_) {
        const RowReason reason = columns.check(row);
        if (reason != RowReason::none) {
            rejects_.push_back({rows_, reason});
            Counters::add(counters_.rejected);
            continue;
        }
        const Batch::Entry entry = makeEntry(columns, row, batch.shares.size());
        batch.shares[entry.lane].entries.push_back(batch.entries.size());
        batch.entries.push_back(entry);
        if (lookBack_ >= 0) {
            const std::int64_t time = columns.timeMs(row);
            countDisorder(entry.eid, time);
            if (!horizon_.isInTime(time, isOldestKnown)) {
                Counters::add(counters_.late);
            }
            collect(batch);
        }
    }
    Counters::add(counters_.pushed, static_cast<std::uint64_t>(to - from));
}

void Intake::know(Batch& batch, std::int64_t oldestToCome) {
    if (lookBack_ >= 0) {
        horizon_.know(oldestToCome);
        collect(batch);
    }
}

std::vector<Reject> Intake::takeRejects() {
    return std::exchange(rejects_, {});
}

Batch::Entry Intake::makeEntry(const Observations& columns, std::int64_t row, std::size_t lanes) {
    const auto keyOf = [row](const TextColumn& column, DictionaryNumbers& kept, const auto& find) {
        return static_cast<std::int32_t>(column.isNull(row) ? find({})
                                                            : kept.at(column, row, find));
    };
    Batch::Entry entry{};
    entry.at = row;
    entry.eid = entityOf(columns, row);
    entry.primaryKey =
        keyOf(columns.primaryKeys(), primaryKeys_,
              [this](std::string_view key) -> std::int64_t { return keys_.primary(key); });
    entry.secondaryKey =
        keyOf(columns.secondaryKeys(), secondaryKeys_,
              [this](std::string_view key) -> std::int64_t { return keys_.secondary(key); });
    entry.lane = static_cast<std::size_t>(entry.eid % lanes);
    return entry;
}

std::uint64_t Intake::entityOf(const Observations& columns, std::int64_t row) {
    if (columns.entityKind() != EntityKind::text) {
        return names_->numberOf(columns.entityBits(row));
    }
    return static_cast<std::uint64_t>(
        entities_.at(columns.entities(), row, [this](std::string_view name) {
            return static_cast<std::int64_t>(names_->numberOf(name));
        }));
}

void Intake::countDisorder(std::uint64_t eid, std::int64_t time) {
    if (eid >= newest_.size()) {
        newest_.resize(eid + 1); // no time is negative
    }
    if (time < newest_[eid]) {
        Counters::add(counters_.outOfOrder);
    } else {
        newest_[eid] = time;
    }
}

/// Each pass over all that is remembered is worth it only when time has moved on by a whole
/// look-back. It hangs on the rows alone, not on batches, so that every run has the same result.
void Intake::collect(Batch& batch) {
    const std::int64_t needless = horizon_.oldestToCome() - lookBack_;
    if (needless > collected_ && needless - collected_ >= lookBack_) {
        batch.collections.push_back({batch.entries.size(), needless});
        collected_ = needless;
    }
}

} // namespace qorvel_engine::detail
