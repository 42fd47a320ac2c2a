#include "program/commands/OldestTimes.h"

#include "program/Failure.h"
#include "program/commands/Progress.h"
#include "program/input/FixSource.h"

#include <algorithm>
#include <cstddef>
#include <limits>

namespace program {

namespace {

constexpr std::int64_t kFarFuture = std::numeric_limits<std::int64_t>::max();

/// Rows share an entry by blocks, so that even 10^9 of them need but a few MB.
constexpr std::size_t kBlock = 1024;

} // namespace

OldestTimes::OldestTimes(FixSource& source, Progress& progress) : isKnown_(true) {
    progress.begin("reading times");
    try {
        readTimes(source, progress);
    } catch (const Failure&) {
        // See above.
    }
    source.rewind();
    for (std::size_t block = oldest_.size(); block-- > 1;) {
        oldest_[block - 1] = std::min(oldest_[block - 1], oldest_[block]);
    }
}

void OldestTimes::readTimes(FixSource& source, Progress& progress) {
    for (std::uint64_t row = 0; source.next(); ++row) {
        if (row % kBlock == 0) {
            oldest_.push_back(kFarFuture);
            progress.show(source.shareRead(), row);
        }
        oldest_.back() = std::min(oldest_.back(), source.readTime().value_or(kFarFuture));
    }
}

std::int64_t OldestTimes::from(std::uint64_t row) const {
    if (!isKnown_) {
        return 0; // no time is negative
    }
    return row / kBlock < oldest_.size() ? oldest_[row / kBlock] : kFarFuture;
}

} // namespace program
