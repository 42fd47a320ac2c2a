#include "engine/analysis/detail/Track.h"

#include "engine/analysis/detail/StayBuilder.h"
#include "engine/analysis/detail/recordOf.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <numeric>
#include <utility>

namespace qorvel_engine::detail {

void Track::addFix(const Event& event, const std::vector<SpaceBox>& near, std::int64_t memory) {
    for (const std::size_t at : current_) {
        Visit& visit = visits_[at];
        const bool isNear = std::find(near.begin(), near.end(), visit.cell) != near.end();
        isNear ? visit.addNear(event.time, memory) : visit.addAway(event.time);
    }
    std::erase_if(current_, [this](std::size_t at) { return visits_[at].isOver(); });
}

void Track::add(const qorvel_port::Figures& record, const Event& newest, std::uint64_t row) {
    Visit& visit = visitOf(record, newest.time, row);
    for (const std::int64_t covered : {record.firstTime, lastTimeOf(record)}) {
        visit.covered.include(covered);
        visit.near.include(covered);
    }
    visit.cover(record);
}

void Track::settle(std::int64_t time, std::uint64_t firstNeeded, const Owner& owner,
                   std::vector<Stay>& stays) {
    std::erase_if(current_, [&](std::size_t at) { return visits_[at].near.last <= time; });
    for (const std::size_t at : current_) {
        firstNeeded = std::min(firstNeeded, visits_[at].hull().first);
    }
    const std::vector<std::size_t> stopOf = findStops();
    std::vector<bool> isOpen(visits_.size());
    for (std::size_t i = 0; i < visits_.size(); ++i) {
        isOpen[stopOf[i]] = isOpen[stopOf[i]] || visits_[i].hull().end > firstNeeded;
    }
    std::vector<StayBuilder> builders(visits_.size());
    for (std::size_t i = 0; i < visits_.size(); ++i) {
        if (!isOpen[stopOf[i]]) {
            builders[stopOf[i]].add(visits_[i]);
        }
    }
    for (std::size_t i = 0; i < visits_.size(); ++i) {
        if (stopOf[i] == i && !isOpen[i]) {
            stays.push_back(builders[i].build(owner));
        }
    }
    keep([&](std::size_t at) { return isOpen[stopOf[at]]; });
    settleAt_ = 2 * visits_.size() + kFewVisits;
}

void Track::settleAll(const Owner& owner, std::vector<Stay>& stays) {
    settle(std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::uint64_t>::max(),
           owner, stays);
}

/// The visit that a record goes on with, or a new one.
Visit& Track::visitOf(const qorvel_port::Figures& record, std::int64_t time, std::uint64_t row) {
    const SpaceBox& cell = record.stb;
    const auto known = std::find_if(current_.begin(), current_.end(), [&](std::size_t at) {
        return visits_[at].cell == cell && visits_[at].near.has(time);
    });
    if (known != current_.end()) {
        return visits_[*known];
    }
    if (current_.size() == kMostCurrent) {
        endOldest();
    }
    current_.push_back(visits_.size());
    const auto window = std::int64_t{record.spec.windowMillis};
    return visits_.emplace_back(Visit{cell, window, row, {time, time}, {time, time}});
}

/// Of the current visits. If one of them is settled at all, this one is.
void Track::endOldest() {
    current_.erase(std::min_element(current_.begin(), current_.end(),
                                    [this](std::size_t left, std::size_t right) {
                                        return visits_[left].near.last < visits_[right].near.last;
                                    }));
}

/// For each visit, one of its stop, the same for all of them.
std::vector<std::size_t> Track::findStops() const {
    std::vector<std::size_t> parent(visits_.size());
    std::iota(parent.begin(), parent.end(), std::size_t{0});
    std::vector<std::size_t> order = parent;
    std::stable_sort(order.begin(), order.end(), [this](std::size_t left, std::size_t right) {
        return visits_[left].hull().first < visits_[right].hull().first;
    });
    const auto rootOf = [&parent](std::size_t at) {
        while (parent[at] != at) {
            at = parent[at] = parent[parent[at]];
        }
        return at;
    };
    for (auto i = order.begin(); i != order.end(); ++i) {
        const std::uint64_t end = visits_[*i].hull().end;
        for (auto j = std::next(i); j != order.end() && visits_[*j].hull().first < end; ++j) {
            if (areOfOneStop(visits_[*i], visits_[*j])) {
                parent[rootOf(*j)] = rootOf(*i);
            }
        }
    }
    for (std::size_t& at : parent) {
        at = rootOf(at);
    }
    return parent;
}

/// Drops the other visits, none of which is current.
template <class IsKept>
void Track::keep(IsKept isKept) {
    std::vector<Visit> kept;
    auto current = current_.begin();
    for (std::size_t at = 0; at < visits_.size(); ++at) {
        if (current != current_.end() && *current == at) {
            *current++ = kept.size();
        }
        if (isKept(at)) {
            kept.push_back(std::move(visits_[at]));
        }
    }
    visits_ = std::move(kept);
}

} // namespace qorvel_engine::detail
