#include "engine/analysis/detail/MomentFinder.h"

#include "engine/analysis/detail/ThreadGroup.h"
#include "engine/columns/Fault.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <tuple>
#include <utility>

namespace qorvel_engine::detail {

namespace {

/// Cells smaller than that would be many on the way of a vehicle.
constexpr double kLeastCellSize = 800.0;

/// Of a cell's size, how far it may be to the other entity: so few cells have to be asked.
constexpr double kCellsPerDistance = 8.0;

/// The same for fixes that stand still, of which each has few cells around it.
constexpr double kCellsPerStillDistance = 4.0;
constexpr double kLeastStillCellSize = 1.0;

/// The cells that a piece of a cell's length asks, about.
constexpr double kCellsPerStep = 12.0;

/// What is far from rounding, metres.
constexpr double kRoundingMargin = 0.001;

/// A million moments are some tens of megabytes. More at a time are not worth the memory.
constexpr std::size_t kManyMoments = 1'000'000;

/// Fewer are looked through in hardly more time than it takes to begin a thread.
constexpr std::size_t kFixesOfThread = 500;

/// Times are not negative.
std::int64_t later(std::int64_t time, std::int64_t span) {
    return time > std::numeric_limits<std::int64_t>::max() - span
               ? std::numeric_limits<std::int64_t>::max()
               : time + span;
}

double cellSizeFor(const EncounterOptions& options) {
    return options.fixesOnly
               ? std::max(kLeastStillCellSize, kCellsPerStillDistance * options.within)
               : std::max(kLeastCellSize, kCellsPerDistance * options.within);
}

} // namespace

MomentFinder::MomentFinder(const EncounterOptions& options)
    : squaredWithin_(options.within * options.within), within_(options.within),
      apart_(options.apart), fixesOnly_(options.fixesOnly), cellSize_(cellSizeFor(options)),
      grid_(cellSize_) {}

void MomentFinder::take(std::vector<SeenFix> fixes) {
    fixes_ = std::move(fixes);
    points_.clear();
    points_.reserve(fixes_.size());
    for (const SeenFix& fix : fixes_) {
        points_.push_back(toEarthPoint({fix.latitude, fix.longitude}));
    }
}

bool MomentFinder::find(std::int64_t from, std::int64_t to, std::vector<Moment>& moments) {
    from_ = from;
    to_ = to;
    found_.clear();
    moments.clear();
    if (!(fixesOnly_ ? lookAroundAll() : followAll())) {
        return false;
    }
    fixesOnly_ ? sortFoundAround() : makeUnique();
    for (const Found& found : found_) {
        const SeenFix& fix = fixes_[found.fix];
        moments.push_back(
            {found.a, found.b, fix.time, found.squaredDistance, fix.latitude, fix.longitude});
    }
    return true;
}

void MomentFinder::expectWanted() const {
    if (cancelled_ != nullptr && *cancelled_) {
        throw Fault(FaultCode::cancelled, "The session was cancelled.");
    }
}

/// A single millisecond is not split further.
bool MomentFinder::hasTooMany() const {
    return found_.size() > kManyMoments && to_ > from_;
}

/// Entity by entity, each by any thread: what is found is put in order, whoever finds it.
bool MomentFinder::followAll() {
    fillGrid();
    if (grid_.isEmpty()) {
        return true;
    }
    std::vector<std::size_t> begins; // of the entities
    for (std::size_t i = 0; i < fixes_.size(); ++i) {
        if (i == 0 || fixes_[i].eid != fixes_[i - 1].eid) {
            begins.push_back(i);
        }
    }
    begins.push_back(fixes_.size());

    std::atomic<std::size_t> next = 0;
    std::atomic<std::size_t> count = 0;
    std::atomic<bool> isOver = false;
    const auto search = [&](std::vector<Found>& found) {
        for (std::size_t at = 0; !isOver && (at = next++) + 1 < begins.size();) {
            expectWanted();
            const std::size_t before = found.size();
            follow(begins[at], begins[at + 1], found);
            count += found.size() - before;
            isOver = isOver || (count > kManyMoments && to_ > from_); // of a ms nothing is split
        }
        std::sort(found.begin(), found.end(),
                  [this](const Found& left, const Found& right) { return isBefore(left, right); });
    };
    const auto threads = std::clamp<std::size_t>(fixes_.size() / kFixesOfThread, 1, threads_);
    parts_.resize(threads - 1);
    for (std::vector<Found>& part : parts_) {
        part.clear();
    }
    ThreadGroup group(isOver);
    for (std::vector<Found>& part : parts_) {
        group.add([&] { search(part); });
    }
    group.finish([&] { search(found_); });
    for (const std::vector<Found>& part : parts_) {
        const auto size = static_cast<std::ptrdiff_t>(found_.size());
        found_.insert(found_.end(), part.begin(), part.end());
        std::inplace_merge(
            found_.begin(), found_.begin() + size, found_.end(),
            [this](const Found& left, const Found& right) { return isBefore(left, right); });
    }
    return !isOver;
}

/// A slice of time is as long as there is between two fixes of an entity, on average: so however
/// long the pieces of the ways are, there are few slices to them in all.
void MomentFinder::fillGrid() {
    std::vector<FixGrid::Fix> asked;
    std::size_t entities = 0;
    for (std::size_t i = 0; i < fixes_.size(); ++i) {
        if (fixes_[i].time >= from_ && fixes_[i].time <= to_) {
            if (asked.empty() || asked.back().eid != fixes_[i].eid) {
                ++entities;
            }
            asked.push_back({points_[i], fixes_[i].time, fixes_[i].eid, i});
        }
    }
    const std::size_t slices = entities > 0 ? asked.size() / entities : 1;
    grid_.fill(asked, slices);
}

/// The way of one entity, piece by piece.
void MomentFinder::follow(std::size_t begin, std::size_t end, std::vector<Found>& found) const {
    const std::uint64_t eid = fixes_[begin].eid;
    const auto time = [this](std::size_t at) { return fixes_[at].time; };
    ask(eid, {std::max<std::int64_t>(time(begin) - apart_, 0), time(begin), points_[begin]}, found);
    for (std::size_t next = begin + 1; next < end; ++next) {
        const std::size_t last = next - 1;
        const std::int64_t gap = time(next) - time(last);
        if (gap <= apart_) {
            ask(eid, {time(last), time(next), points_[last], points_[next]}, found);
        } else {
            const std::int64_t middle = time(last) + gap / 2;
            ask(eid, {time(last), std::min(time(last) + apart_, middle), points_[last]}, found);
            ask(eid, {std::max(time(next) - apart_, middle + 1), time(next), points_[next]}, found);
        }
    }
    ask(eid, {time(end - 1), later(time(end - 1), apart_), points_[end - 1]}, found);
}

void MomentFinder::ask(std::uint64_t eid, const TrackPiece& piece,
                       std::vector<Found>& found) const {
    const std::int64_t from = std::max(piece.from(), from_);
    const std::int64_t to = std::min(piece.to(), to_);
    if (from > to) {
        return;
    }
    const FixGrid::Extent extent = grid_.extentOf(from, to);
    const double steps = piece.length() * piece.shareOf(to - from) / cellSize_;
    const double cells = (steps + static_cast<double>(extent.slices)) * kCellsPerStep;
    const std::size_t fixes = // exactly where a long way would ask many cells
        steps < 1.0 ? extent.fixes : grid_.countIn(from, to);
    if (static_cast<double>(fixes) <= cells || piece.length() > TrackPiece::kLongestBounded) {
        grid_.visitIn(from, to, [&](const FixGrid::Fix& fix) { meet(eid, piece, fix, found); });
    } else {
        askCells(eid, piece, from, to, found);
    }
}

/// In steps so short that the cells around each are few. No place of a step is outside of its box:
/// a fix that is near one of them is in it.
void MomentFinder::askCells(std::uint64_t eid, const TrackPiece& piece, std::int64_t from,
                            std::int64_t to, std::vector<Found>& found) const {
    const auto steps =
        static_cast<std::int64_t>(piece.length() * piece.shareOf(to - from) / cellSize_ + 1.0);
    for (std::int64_t step = 0; step < steps; ++step) {
        const std::int64_t begin = from + (to - from) * step / steps;
        const std::int64_t end = from + (to - from) * (step + 1) / steps;
        const EarthPoint one = piece.at(begin);
        const EarthPoint other = piece.at(end);
        const double margin =
            within_ + piece.strayWithin(piece.shareOf(end - begin)) + kRoundingMargin;
        const FixGrid::Box box{
            {std::min(one.x, other.x) - margin, std::min(one.y, other.y) - margin,
             std::min(one.z, other.z) - margin},
            {std::max(one.x, other.x) + margin, std::max(one.y, other.y) + margin,
             std::max(one.z, other.z) + margin}};
        grid_.visitNear(box, begin, end,
                        [&](const FixGrid::Fix& fix) { meet(eid, piece, fix, found); });
    }
}

void MomentFinder::meet(std::uint64_t eid, const TrackPiece& piece, const FixGrid::Fix& fix,
                        std::vector<Found>& found) const {
    if (fix.eid == eid) {
        return;
    }
    const double distance = squaredDistance(piece.at(fix.time), fix.point);
    if (distance <= squaredWithin_) {
        found.push_back({std::min(eid, fix.eid), std::max(eid, fix.eid), fix.index, distance});
    }
}

bool MomentFinder::lookAroundAll() {
    fillGridAround();
    std::size_t own = 0;
    for (std::size_t i = 0; i < fixes_.size(); ++i) {
        if (eids_[own] != fixes_[i].eid) {
            ++own;
        }
        if (fixes_[i].time >= from_ && fixes_[i].time <= to_) {
            expectWanted();
            lookAround(own, i);
            if (hasTooMany()) {
                return false;
            }
        }
    }
    return true;
}

/// In one slice of time: each fix asks for about half of it.
void MomentFinder::fillGridAround() {
    std::vector<FixGrid::Fix> fixes;
    eids_.clear();
    const std::int64_t earliest = from_ - apart_;
    const std::int64_t latest = later(to_, apart_);
    for (std::size_t i = 0; i < fixes_.size(); ++i) {
        if (eids_.empty() || eids_.back() != fixes_[i].eid) {
            eids_.push_back(fixes_[i].eid);
        }
        if (fixes_[i].time >= earliest && fixes_[i].time <= latest) {
            fixes.push_back({points_[i], fixes_[i].time, eids_.size() - 1, i});
        }
    }
    nearest_.assign(eids_.size(), Nearest());
    grid_.fill(fixes, 1);
}

/// A crowd that stands still is found fix by fix, but kept entity by entity.
void MomentFinder::lookAround(std::size_t own, std::size_t index) {
    const EarthPoint& point = points_[index];
    const double margin = within_ + kRoundingMargin;
    const FixGrid::Box box{{point.x - margin, point.y - margin, point.z - margin},
                           {point.x + margin, point.y + margin, point.z + margin}};
    const std::int64_t time = fixes_[index].time;
    touched_.clear();
    grid_.visitNear(box, time - apart_, later(time, apart_), [&](const FixGrid::Fix& fix) {
        const double distance = squaredDistance(point, fix.point);
        if (distance > squaredWithin_) {
            return;
        }
        Nearest& nearest = nearest_[fix.eid];
        if (nearest.fix != index + 1) {
            nearest = {index + 1, distance};
            touched_.push_back(fix.eid);
        } else if (distance < nearest.squaredDistance) {
            nearest.squaredDistance = distance;
        }
    });
    for (const std::size_t other : touched_) {
        if (other != own) {
            found_.push_back({std::min(own, other), std::max(own, other), index,
                              nearest_[other].squaredDistance});
        }
    }
}

/// Of the fixes that were looked around, which comes how late, those of the same time by their
/// place; of the others nothing.
std::vector<std::size_t> MomentFinder::ranksInTime() const {
    std::vector<std::size_t> order;
    grid_.visitIn(from_, to_, [&order](const FixGrid::Fix& fix) { order.push_back(fix.index); });
    const auto key = [this](std::size_t index) {
        const SeenFix& fix = fixes_[index];
        return std::tuple(fix.latitude, fix.longitude, index);
    };
    std::vector<std::size_t> ranks(fixes_.size());
    for (std::size_t begin = 0, end = 0; begin < order.size(); begin = end) {
        const std::int64_t time = fixes_[order[begin]].time;
        while (end < order.size() && fixes_[order[end]].time == time) {
            ++end;
        }
        std::sort(order.begin() + static_cast<std::ptrdiff_t>(begin),
                  order.begin() + static_cast<std::ptrdiff_t>(end),
                  [&key](std::size_t left, std::size_t right) { return key(left) < key(right); });
        for (std::size_t rank = begin; rank < end; ++rank) {
            ranks[order[rank]] = rank;
        }
    }
    return ranks;
}

/// In the order of isBefore(). There are so many that they are counted, not compared: the last key
/// first, each time keeping the order of those with the same key.
void MomentFinder::sortFoundAround() {
    std::vector<Found> sorted(found_.size());
    const auto sortBy = [&](std::size_t keys, auto key) {
        std::vector<std::size_t> starts(keys + 1, 0);
        for (const Found& found : found_) {
            ++starts[key(found) + 1];
        }
        std::partial_sum(starts.begin(), starts.end(), starts.begin());
        for (const Found& found : found_) {
            sorted[starts[key(found)]++] = found;
        }
        found_.swap(sorted);
    };
    const std::vector<std::size_t> ranks = ranksInTime();
    sortBy(ranks.size(), [&ranks](const Found& found) { return ranks[found.fix]; });
    sortBy(eids_.size(), [](const Found& found) { return found.b; });
    sortBy(eids_.size(), [](const Found& found) { return found.a; });
    for (Found& found : found_) {
        found.a = eids_[found.a];
        found.b = eids_[found.b];
    }
}

/// By pair and time, fixes of the same time by their place: the numbers of entities hang on the
/// order of the input.
bool MomentFinder::isBefore(const Found& left, const Found& right) const {
    const auto key = [this](const Found& found) {
        const SeenFix& fix = fixes_[found.fix];
        return std::tuple(found.a, found.b, fix.time, fix.latitude, fix.longitude, found.fix,
                          found.squaredDistance);
    };
    return key(left) < key(right);
}

/// A fix at which two pieces meet, or that was found in two cells, counts once.
void MomentFinder::makeUnique() {
    const auto isSame = [](const Found& left, const Found& right) {
        return left.a == right.a && left.b == right.b && left.fix == right.fix;
    };
    found_.erase(std::unique(found_.begin(), found_.end(), isSame), found_.end());
}

} // namespace qorvel_engine::detail
