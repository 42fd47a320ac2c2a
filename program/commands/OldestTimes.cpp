#include "program/commands/OldestTimes.h"

#include "program/Failure.h"
#include "program/commands/Progress.h"
#include "program/input/Fix.h"
#include "program/input/FixSource.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <limits>
#include <string>

namespace program {

namespace {

constexpr std::int64_t kFarFuture = std::numeric_limits<std::int64_t>::max();

/// Rows share an entry by blocks, so that even 10^9 of them need but a few MB.
constexpr std::size_t kBlock = 1024;

} // namespace

OldestTimes::OldestTimes(FixSource& source, Progress& progress, bool entitiesToo)
    : isKnown_(true), lateInEntity_(entitiesToo ? std::optional<std::int64_t>(0) : std::nullopt) {
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
    NewestTimes newest;
    Fix fix;
    for (std::uint64_t row = 0; source.next(); ++row) {
        if (row % kBlock == 0) {
            oldest_.push_back(kFarFuture);
            progress.show(source.shareRead(), row);
        }
        const bool isWhole = lateInEntity_ && source.read(fix).empty();
        if (isWhole) {
            compare(fix, newest);
        }
        const std::int64_t time = isWhole ? fix.time : source.readTime().value_or(kFarFuture);
        oldest_.back() = std::min(oldest_.back(), time);
    }
}

void OldestTimes::compare(const Fix& fix, NewestTimes& newest) {
    const auto [entry, isNew] = newest.try_emplace(std::hash<std::string>()(fix.entity), fix.time);
    entry->second = std::max(entry->second, fix.time);
    lateInEntity_ = std::max(*lateInEntity_, entry->second - fix.time);
}

std::int64_t OldestTimes::from(std::uint64_t row) const {
    if (!isKnown_) {
        return 0; // no time is negative
    }
    return row / kBlock < oldest_.size() ? oldest_[row / kBlock] : kFarFuture;
}

} // namespace program
