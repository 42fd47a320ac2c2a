#include "engine/analysis/detail/Visit.h"

#include <algorithm>
#include <numeric>

namespace qorvel_engine::detail {

void Visit::addNear(std::int64_t time, std::int64_t memory) {
    if (near.first - time <= memory && time - near.last <= memory) {
        near.include(time);
        away.reset();
    }
}

void Visit::addAway(std::int64_t time) {
    if (near.has(time)) {
        return; // a late report, or one of two devices
    }
    const auto isBefore = [this](std::int64_t other) { return other < near.first; };
    if (away && isBefore(away->first) == isBefore(time)) {
        away->include(time);
    } else {
        away = Period{time, time};
    }
}

/// Mostly a record covers what the one before it covered, and the newest fix.
void Visit::cover(const qorvel_port::Figures& record) {
    const std::uint64_t known = pieces.empty() ? 0 : pieces.back().end;
    std::uint64_t index = record.eventCount;
    while (index > 0 && record.sequenceNumber(index - 1) >= known) {
        --index;
    }
    for (; index < record.eventCount; ++index) {
        add(record.sequenceNumber(index));
    }
}

/// In ascending order.
void Visit::add(std::uint64_t fix) {
    if (pieces.empty() || pieces.back().end < fix) {
        pieces.push_back({fix, fix + 1});
    } else {
        pieces.back().end = std::max(pieces.back().end, fix + 1);
    }
}

std::uint64_t Visit::fixCount() const {
    return std::accumulate(
        pieces.begin(), pieces.end(), std::uint64_t{0},
        [](std::uint64_t sum, const Fixes& piece) { return sum + piece.count(); });
}

bool areOfOneStop(const Visit& a, const Visit& b) {
    const Fixes left = a.hull();
    const Fixes right = b.hull();
    const std::uint64_t end = std::min(left.end, right.end);
    const std::uint64_t first = std::max(left.first, right.first);
    return end > first && 2 * (end - first) >= std::min(left.count(), right.count());
}

} // namespace qorvel_engine::detail
