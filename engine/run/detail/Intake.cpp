#include "engine/run/detail/Intake.h"

#include "engine/columns/Fault.h"
#include "engine/columns/detail/checkText.h"

#include <algorithm>
#include <utility>

namespace qorvel_engine::detail {

namespace {

/// A pass looks at that many entities for each row, at most: each costs a fraction of a row.
constexpr std::uint64_t kEntitiesPerRow = 4;

constexpr std::int64_t kForgetEvery = 6 * 3600000; ///< ms

constexpr std::int64_t kNone = -1; // no time is negative

constexpr std::int64_t kRowsAhead = 16; ///< of which entities are looked up

template <class Find>
std::int32_t keyOf(const TextColumn& column, std::int64_t row, DictionaryNumbers& kept,
                   const Find& find) {
    return static_cast<std::int32_t>(
        !column.isThere() || column.isNull(row) ? find({}) : kept.at(column, row, find));
}

} // namespace

Intake::Intake(KeyNumbers keys, const Analysis& analysis, const SessionOptions& options,
               Counters& counters)
    : keys_(std::move(keys)), horizon_(options.late), forgetsReported_(options.forgetsReported),
      lookBack_(analysis.lookBack()), counters_(counters),
      defaultAccuracy_(options.defaultTolerance), worstAccuracy_(analysis.worstAccuracy()) {
    if (const std::optional<std::int64_t> usual = analysis.lateInEntity()) {
        entityHorizons_.emplace(options.late, *usual);
    }
}

Intake Intake::withoutEntities() const {
    Intake copy(*this);
    copy.names_ = nullptr;
    copy.newest_.clear();
    if (copy.entityHorizons_) {
        copy.entityHorizons_->forget();
    }
    return copy;
}

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
    batch.firstRow = rows_ - static_cast<std::uint64_t>(from);
    if (lookBack_ < 0) {
        fillTable(batch, from, to);
    } else {
        fillEntries(batch, from, to, isOldestKnown);
    }
    Counters::add(counters_.pushed, static_cast<std::uint64_t>(to - from));
}

template <class Take>
void Intake::forEachGood(const Observations& columns, std::int64_t from, std::int64_t to,
                         const Take& take) {
    reasons_.resize(static_cast<std::size_t>(to - from));
    const bool isGood = columns.check(from, to, reasons_.data());
    for (std::int64_t row = from; row < to; ++row, ++rows_) {
        const RowReason reason =
            isGood ? RowReason::none : reasons_[static_cast<std::size_t>(row - from)];
        if (reason == RowReason::none) {
            take(row);
        } else {
            rejects_.push_back({rows_, reason});
            Counters::add(counters_.rejected);
        }
    }
}

void Intake::fillTable(Batch& batch, std::int64_t from, std::int64_t to) {
    const Observations& columns = batch.columns;
    batch.tableLane = static_cast<std::size_t>(fills_++ % batch.shares.size());
    batch.table.reserve(static_cast<std::size_t>(to - from));
    forEachGood(columns, from, to, [&](std::int64_t row) {
        batch.table.add(row, entityOf(columns, row), primaryKeyOf(columns, row),
                        secondaryKeyOf(columns, row));
    });
}

void Intake::fillEntries(Batch& batch, std::int64_t from, std::int64_t to, bool isOldestKnown) {
    const Observations& columns = batch.columns;
    const std::size_t lanes = batch.shares.size();
    batch.entries.reserve(static_cast<std::size_t>(to - from));
    forEachGood(columns, from, to, [&](std::int64_t row) {
        // Where it will stand: one that is copied there costs as much as the rest of the row.
        Batch::Entry& entry = batch.entries.emplace_back();
        setEntry(entry, columns, row);
        entry.lane = lanes == 1 ? 0 : static_cast<std::size_t>(entry.eid % lanes);
        judge(entry, columns.timeMs(row), isOldestKnown);
        if (worstAccuracy_) {
            countAccuracy(columns, row);
        }
        batch.shares[entry.lane].entries.push_back(batch.entries.size() - 1);
        if (horizon_.oldestToCome() - lookBack_ > collected_) {
            collect(batch);
        }
    });
}

void Intake::know(Batch& batch, std::int64_t oldestToCome) {
    horizon_.know(oldestToCome);
    collect(batch);
}

InputFigures Intake::figures() const {
    return {names_ == nullptr ? 0 : names_->size(), intervals_.median(), inaccurate_};
}

std::vector<Reject> Intake::takeRejects() {
    return std::exchange(rejects_, {});
}

void Intake::save(StateWriter& out) const {
    out.u64(rows_);
    horizon_.save(out);
    out.i64(collected_);
    out.u64(collectedRow_);
    out.u64(inaccurate_);
    intervals_.save(out);
}

void Intake::load(StateReader& in) {
    rows_ = in.u64();
    horizon_.load(in);
    collected_ = in.time();
    collectedRow_ = in.u64();
    in.expect(collectedRow_ <= rows_ && collected_ <= horizon_.oldestToCome());
    inaccurate_ = in.u64();
    intervals_.load(in);
}

void Intake::saveEntity(std::uint64_t eid, StateWriter& out) const {
    if (names_->kind() == EntityKind::text) {
        out.text(names_->text(eid));
    } else {
        out.u64(names_->bits(eid));
    }
    out.i64(eid < newest_.size() ? newest_[eid] : kNone);
    out.i64(entityHorizons_ ? entityHorizons_->oldestOf(eid) : 0);
}

std::uint64_t Intake::loadEntity(StateReader& in) {
    std::uint64_t eid = 0;
    if (names_->kind() == EntityKind::text) {
        const std::string_view name = in.text();
        in.expect(checkText(name) == TextFault::none);
        eid = in.isGood() ? names_->numberOf(name) : 0;
    } else {
        const std::uint64_t bits = in.u64();
        eid = in.isGood() ? names_->numberOf(bits) : 0;
    }
    const std::int64_t newest = in.i64();
    in.expect(newest >= kNone);
    const std::int64_t oldest = in.time();
    if (!in.isGood()) {
        return 0;
    }
    if (lookBack_ >= 0) {
        newest_.resize(static_cast<std::size_t>(names_->size()), kNone);
        newest_[eid] = std::max(newest_[eid], newest);
    }
    if (entityHorizons_) {
        entityHorizons_->set(eid, std::max(entityHorizons_->oldestOf(eid), oldest));
    }
    return eid;
}

void Intake::forgetEntity(std::uint64_t eid) {
    if (eid < newest_.size()) {
        newest_[eid] = kNone;
    }
    if (entityHorizons_) {
        entityHorizons_->set(eid, 0);
    }
}

void Intake::setEntry(Batch::Entry& entry, const Observations& columns, std::int64_t row) {
    entry.at = row;
    entry.eid = entityOf(columns, row);
    entry.primaryKey = primaryKeyOf(columns, row);
    entry.secondaryKey = secondaryKeyOf(columns, row);
}

std::int32_t Intake::primaryKeyOf(const Observations& columns, std::int64_t row) {
    return keyOf(columns.primaryKeys(), row, primaryKeys_,
                 [this](std::string_view key) -> std::int64_t { return keys_.primary(key); });
}

std::int32_t Intake::secondaryKeyOf(const Observations& columns, std::int64_t row) {
    return keyOf(columns.secondaryKeys(), row, secondaryKeys_,
                 [this](std::string_view key) -> std::int64_t { return keys_.secondary(key); });
}

std::uint64_t Intake::entityOf(const Observations& columns, std::int64_t row) {
    if (columns.entityKind() != EntityKind::text) {
        names_->fetch(columns.entityBits(std::min(row + kRowsAhead, columns.size() - 1)));
        return names_->numberOf(columns.entityBits(row));
    }
    return static_cast<std::uint64_t>(
        entities_.at(columns.entities(), row, [this](std::string_view name) {
            return static_cast<std::int64_t>(names_->numberOf(name));
        }));
}

/// Is it out of order, or late?
void Intake::judge(Batch::Entry& entry, std::int64_t time, bool isOldestKnown) {
    countTime(entry.eid, time);
    if (entityHorizons_) {
        entry.oldestToCome =
            entityHorizons_->oldestToCome(entry.eid, newest_[entry.eid], isOldestKnown);
        entry.isLate = time < std::max(entry.oldestToCome, horizon_.oldestToCome());
    } else {
        entry.isLate = !horizon_.isInTime(time, isOldestKnown);
    }
    if (entry.isLate) {
        Counters::add(counters_.late);
    }
}

void Intake::countAccuracy(const Observations& columns, std::int64_t row) {
    const bool isLeftOut = columns.accuracy(row).value_or(defaultAccuracy_) > *worstAccuracy_;
    inaccurate_ += isLeftOut ? 1 : 0;
}

/// Is it out of order, or how long is it after the one before?
void Intake::countTime(std::uint64_t eid, std::int64_t time) {
    if (eid >= newest_.size()) {
        newest_.resize(eid + 1, kNone);
    }
    if (time < newest_[eid]) {
        Counters::add(counters_.outOfOrder);
    } else {
        if (newest_[eid] != kNone && time > newest_[eid]) {
            intervals_.add(time - newest_[eid]);
        }
        newest_[eid] = time;
    }
}

/// Each pass over all that is remembered is worth it only when time has moved on by a whole
/// look-back; over all entities, when there were rows enough to pay for it. It hangs on the rows
/// alone and on what is known between which of them, not on threads, so that every run has the same
/// result.
void Intake::collect(Batch& batch) {
    if (lookBack_ < 0) {
        return;
    }
    const std::int64_t needless = horizon_.oldestToCome() - lookBack_;
    const bool isWorthIt = entityHorizons_
                               ? (rows_ - collectedRow_) * kEntitiesPerRow >= newest_.size()
                               : needless - collected_ >= lookBack_;
    if (needless > collected_ && isWorthIt) {
        batch.collections.push_back({batch.entries.size(), needless, reportedBefore(needless)});
        collected_ = needless;
        collectedRow_ = rows_;
    }
}

/// Where the pass is the first one of some hours, of a grid: what was reported may be much more
/// than what is looked back upon.
std::optional<std::int64_t> Intake::reportedBefore(std::int64_t needless) const {
    const bool isDue = needless / kForgetEvery > collected_ / kForgetEvery;
    return forgetsReported_ && isDue ? std::optional(horizon_.oldestToCome()) : std::nullopt;
}

} // namespace qorvel_engine::detail
