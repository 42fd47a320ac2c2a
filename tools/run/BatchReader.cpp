#include "tools/run/BatchReader.h"

#include "tools/Interrupt.h"
#include "tools/input/FixSource.h"
#include "tools/run/Horizon.h"
#include "tools/run/Progress.h"
#include "tools/run/Rejects.h"

#include <functional>
#include <string>

namespace host {

namespace {

/// Enough that a shard's work outweighs the hand-over, few enough that what is under way stays in
/// the caches: with 4096 two threads together took a quarter more time than one alone.
constexpr std::size_t kBatchRows = 1024;

} // namespace

bool BatchReader::fill(Batch& batch) {
    batch.size = 0;
    batch.isLive = false;
    batch.collections.clear();
    for (auto& entries : batch.entriesOf) {
        entries.clear();
    }
    try {
        readRows(batch);
    } catch (const Failure& failure) {
        trouble_ = failure;
        hasEnded_ = true;
    }
    progress_.show(source_.shareRead(), rows_);
    return batch.size > 0 || !batch.collections.empty();
}

void BatchReader::readRows(Batch& batch) {
    while (!hasEnded_ && !batch.isLive && batch.size < kBatchRows) {
        if (interrupted() || !source_.next()) {
            hasEnded_ = true;
        } else {
            readRow(batch);
            batch.isLive = source_.isDrained() && !source_.isRepeatable();
        }
    }
}

void BatchReader::readRow(Batch& batch) {
    if (batch.entries.size() == batch.size) {
        batch.entries.emplace_back();
    }
    Batch::Entry& entry = batch.entries[batch.size];
    const std::string fault = source_.read(entry.fix);
    entry.row = rows_++;
    if (fault.empty()) {
        admit(batch, entry);
    } else {
        progress_.clear();
        rejects_.add(source_, fault);
        if (isStrict_) {
            throw Failure(ExitCode::broken, "stopped at the first bad row (--strict)");
        }
    }
    collect(batch);
}

void BatchReader::admit(Batch& batch, Batch::Entry& entry) {
    if (horizon_ != nullptr && !horizon_->isInTime(entry.row, entry.fix.time)) {
        ++late_;
    }
    const std::size_t hash = std::hash<std::string>()(entry.fix.entity);
    if (horizon_ != nullptr) {
        countDisorder(hash, entry.fix.time);
    }
    batch.entriesOf[hash % batch.entriesOf.size()].push_back(batch.size);
    ++batch.size;
    ++processed_;
}

/// Two entities in one place forget each other's times, which only makes the count too low.
void BatchReader::countDisorder(std::size_t hash, std::int64_t time) {
    Newest& newest = newest_[hash % kNewest];
    if (newest.entity == hash && time < newest.time) {
        ++outOfOrder_;
    } else {
        newest = {hash, time};
    }
}

/// Each pass over all that is remembered is worth it only when time has moved on by a whole
/// look-back. It hangs on the rows alone, not on batches, so that every run has the same result.
void BatchReader::collect(Batch& batch) {
    if (horizon_ == nullptr) {
        return;
    }
    const std::int64_t needless = horizon_->oldestToCome() - lookBack_;
    if (needless - lookBack_ >= collected_) {
        batch.collections.push_back({batch.size, needless});
        collected_ = needless;
    }
}

} // namespace host
