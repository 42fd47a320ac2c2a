#include "program/commands/OldestTimes.h"

#include "program/Failure.h"
#include "program/commands/Progress.h"
#include "program/input/Fix.h"
#include "program/input/FixSource.h"
#include "program/input/KeptFixes.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <limits>
#include <numeric>
#include <string>

namespace program {

namespace {

constexpr std::int64_t kFarFuture = std::numeric_limits<std::int64_t>::max();

constexpr std::int64_t kHour = 3'600'000; ///< ms

} // namespace

OldestTimes::OldestTimes(FixSource& source, Progress& progress, bool entitiesToo, KeptFixes& kept)
    : isKnown_(true), lateInEntity_(entitiesToo ? std::optional<std::int64_t>(0) : std::nullopt) {
    progress.begin("reading times");
    Ways ways;
    try {
        readTimes(source, progress, kept, ways);
    } catch (const Failure&) { // see above
        kept.drop();
    }
    if (!kept.holdsAll()) {
        source.rewind();
    }
    for (std::size_t block = blocks_.size(); block-- > 1;) {
        blocks_[block - 1].oldest = std::min(blocks_[block - 1].oldest, blocks_[block].oldest);
    }
    mostWaiting_ = waitingInInput();
    if (lateInEntity_) {
        mostWaiting_ = std::min(mostWaiting_, waitingInEntities(ways));
    }
}

void OldestTimes::readTimes(FixSource& source, Progress& progress, KeptFixes& kept, Ways& ways) {
    if (lateInEntity_) { // else times alone are read, which costs less than to keep all
        kept.begin();
    }
    Fix fix;
    for (std::uint64_t row = 0; source.next(); ++row) {
        if (row % kBlock == 0) {
            blocks_.push_back({});
            progress.show(source.shareRead(), row);
            kept.foresee(source.shareRead().value_or(1.0));
        }
        const bool isWhole = lateInEntity_ && source.read(fix).empty();
        if (isWhole) {
            kept.add(fix);
            follow(fix, ways);
        } else if (kept.holdsAll()) {
            kept.drop();
        }
        const std::optional<std::int64_t> time = isWhole ? fix.time : source.readTime();
        Block& block = blocks_.back();
        block.oldest = std::min(block.oldest, time.value_or(kFarFuture));
        block.newest = std::max(block.newest, time.value_or(0));
    }
}

void OldestTimes::follow(const Fix& fix, Ways& ways) {
    Way& way = ways[std::hash<std::string>()(fix.entity)];
    way.newest = std::max(way.newest, fix.time);
    lateInEntity_ = std::max(*lateInEntity_, way.newest - fix.time);
    if (way.newest / kHour > way.hour) {
        way.hour = way.newest / kHour;
        way.sinceHour = 0;
    }
    way.mostInHour = std::max(way.mostInHour, ++way.sinceHour);
}

/// A block waits until the rest of the input is newer.
std::uint64_t OldestTimes::waitingInInput() const {
    std::vector<std::uint64_t> endingAt(blocks_.size() + 1);
    std::uint64_t waiting = 0;
    std::uint64_t most = 0;
    for (std::size_t i = 0; i < blocks_.size(); ++i) {
        waiting -= endingAt[i];
        most = std::max(most, ++waiting);
        const auto next = blocks_.begin() + static_cast<std::ptrdiff_t>(i) + 1;
        const auto newer = std::upper_bound(
            next, blocks_.end(), blocks_[i].newest,
            [](std::int64_t time, const Block& block) { return time < block.oldest; });
        ++endingAt[static_cast<std::size_t>(newer - blocks_.begin())];
    }
    return most * kBlock;
}

/// An hour lies in two that the clock has.
std::uint64_t OldestTimes::waitingInEntities(const Ways& ways) const {
    if (*lateInEntity_ == 0) {
        return 0;
    }
    if (*lateInEntity_ > kHour) {
        return std::numeric_limits<std::uint64_t>::max();
    }
    return std::accumulate(
        ways.begin(), ways.end(), std::uint64_t{0},
        [](std::uint64_t sum, const auto& way) { return sum + 2 * way.second.mostInHour; });
}

std::int64_t OldestTimes::from(std::uint64_t row) const {
    if (!isKnown_) {
        return 0; // no time is negative
    }
    return row / kBlock < blocks_.size() ? blocks_[row / kBlock].oldest : kFarFuture;
}

} // namespace program
