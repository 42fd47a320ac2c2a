#include "program/commands/BatchReader.h"

#include "program/Interrupt.h"
#include "program/commands/Progress.h"
#include "program/commands/Rejects.h"
#include "program/input/FixBatch.h"
#include "program/input/FixFilter.h"
#include "program/input/FixSource.h"

#include <string>

namespace program {

namespace {

constexpr std::uint64_t kBatchRows = 4096;

} // namespace

bool BatchReader::fill(FixBatch& batch) {
    const std::uint64_t before = rows_;
    isLive_ = false;
    try {
        readRows(batch);
    } catch (const Failure& failure) {
        trouble_ = failure;
        hasEnded_ = true;
    }
    progress_.show(source_.shareRead(), rows_);
    return rows_ > before;
}

void BatchReader::goOn(std::uint64_t rows) {
    rows_ = rows;
    try {
        expectFewRejects(); // or to start it again would be a way around that
    } catch (const Failure& failure) {
        trouble_ = failure;
        hasEnded_ = true;
    }
}

std::optional<std::int64_t> BatchReader::oldestToCome() const {
    return oldest_.isKnown() ? std::optional(oldest_.from(rows_)) : std::nullopt;
}

void BatchReader::readRows(FixBatch& batch) {
    const std::uint64_t end = rows_ + kBatchRows;
    const bool isWaitedFor = !source_.isRepeatable();
    while (!hasEnded_ && !isLive_ && rows_ < end) {
        if (interrupted() || !source_.next()) {
            hasEnded_ = true;
        } else {
            readRow(batch);
            isLive_ = source_.isDrained() && isWaitedFor;
        }
    }
}

void BatchReader::readRow(FixBatch& batch) {
    const std::string fault = source_.read(fix_);
    const std::uint64_t row = rows_++;
    if (fault.empty()) {
        if (fix_.time < oldest_.from(row)) {
            throw Failure(ExitCode::broken, "the input changed while it was read");
        }
        if (filter_.takes(fix_)) {
            batch.append(fix_);
        }
        return;
    }
    progress_.clear();
    rejects_.add(source_, fault);
    expectFewRejects();
}

void BatchReader::expectFewRejects() const {
    if (mostRejects_ && rejects_.count() > *mostRejects_) {
        throw Failure(ExitCode::broken, *mostRejects_ == 0
                                            ? "stopped at the first bad row (--strict)"
                                            : "stopped at bad row " +
                                                  std::to_string(rejects_.count()) +
                                                  ", more than --max-rejects allows");
    }
}

} // namespace program
