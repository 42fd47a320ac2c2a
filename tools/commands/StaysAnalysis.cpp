#include "tools/commands/StaysAnalysis.h"

#include "tools/commands/CellValues.h"
#include "tools/run/LastRecords.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <limits>
#include <list>
#include <map>
#include <numeric>
#include <optional>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

namespace host {

namespace {

/// Fixes by number, from the first to before the end.
struct Fixes {
    std::uint64_t first;
    std::uint64_t end;

    std::uint64_t count() const { return end - first; }
};

/// Times from the first to the last, ms.
struct Period {
    std::int64_t first;
    std::int64_t last;

    bool has(std::int64_t time) const { return first <= time && time <= last; }
    std::int64_t length() const { return last - first; }
    void include(std::int64_t time) {
        first = std::min(first, time);
        last = std::max(last, time);
    }
};

/// The records of one cell that belong together.
struct Visit {
    SpaceBox cell;
    std::int64_t window;          ///< of the spec that found it, ms
    std::uint64_t row;            ///< that established it
    Period covered;               ///< by the records
    Period near;                  ///< without an absence, whether or not records cover it
    std::optional<Period> away{}; ///< the fixes elsewhere since the last one near
    std::vector<Fixes> pieces{};  ///< what the records cover, in ascending order

    /// An entity that was silent for longer than series remember has left; then the visit does not
    /// go on.
    void addNear(std::int64_t time, std::int64_t memory) {
        if (near.first - time <= memory && time - near.last <= memory) {
            near.include(time);
            away.reset();
        }
    }

    void addAway(std::int64_t time) {
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

    /// An entity that was elsewhere for as long as the window has left, too.
    bool isOver() const { return away && away->length() >= window; }

    void cover(std::uint64_t fix) {
        if (pieces.empty() || pieces.back().end < fix) {
            pieces.push_back({fix, fix + 1});
        } else {
            pieces.back().end = std::max(pieces.back().end, fix + 1);
        }
    }

    Fixes hull() const { return {pieces.front().first, pieces.back().end}; }

    std::uint64_t fixCount() const {
        return std::accumulate(
            pieces.begin(), pieces.end(), std::uint64_t{0},
            [](std::uint64_t sum, const Fixes& piece) { return sum + piece.count(); });
    }
};

/// Do they share at least half of the fixes of the shorter? Cells that share fixes lie side by
/// side, or about the one that the fixes are in, which shares them too.
bool areOfOneStop(const Visit& a, const Visit& b) {
    const Fixes left = a.hull();
    const Fixes right = b.hull();
    const std::uint64_t end = std::min(left.end, right.end);
    const std::uint64_t first = std::max(left.first, right.first);
    return end > first && 2 * (end - first) >= std::min(left.count(), right.count());
}

/// Whose stays are looked for: an entity's, at one resolution.
struct Owner {
    std::uint64_t eid;
    std::uint32_t masterId;

    // NOLINTNEXTLINE(modernize-use-nullptr): clang-tidy 14 sees a 0 in what the compiler makes
    auto operator<=>(const Owner&) const = default;
};

struct Stay {
    Owner owner;
    std::int64_t from;
    std::int64_t to;
    std::uint64_t row;
    std::uint64_t fixes;
    std::vector<SpaceBox> cells; ///< the place first
};

/// A stay of some visits, of which there is at least one.
class StayBuilder {
public:
    void add(const Visit& visit) {
        from_ = std::min(from_, visit.covered.first);
        to_ = std::max(to_, visit.covered.last);
        row_ = std::min(row_, visit.row);
        pieces_.insert(pieces_.end(), visit.pieces.begin(), visit.pieces.end());
        const auto known = std::find_if(cells_.begin(), cells_.end(), [&visit](const auto& cell) {
            return cell.first == visit.cell;
        });
        (known == cells_.end() ? cells_.emplace_back(visit.cell, 0) : *known).second +=
            visit.fixCount();
    }

    Stay build(const Owner& owner) {
        const auto place =
            std::max_element(cells_.begin(), cells_.end(), [](const auto& left, const auto& right) {
                return left.second < right.second;
            });
        std::iter_swap(cells_.begin(), place);
        Stay stay{owner, from_, to_, row_, countFixes(), {}};
        for (const auto& cell : cells_) {
            stay.cells.push_back(cell.first);
        }
        return stay;
    }

private:
    /// Each once.
    std::uint64_t countFixes() {
        std::sort(pieces_.begin(), pieces_.end(),
                  [](const Fixes& left, const Fixes& right) { return left.first < right.first; });
        std::uint64_t count = 0;
        std::uint64_t end = 0;
        for (const Fixes& piece : pieces_) {
            count += std::max(end, piece.end) - std::max(end, piece.first);
            end = std::max(end, piece.end);
        }
        return count;
    }

    std::int64_t from_ = std::numeric_limits<std::int64_t>::max();
    std::int64_t to_ = std::numeric_limits<std::int64_t>::min();
    std::uint64_t row_ = std::numeric_limits<std::uint64_t>::max();
    std::vector<Fixes> pieces_;
    std::vector<std::pair<SpaceBox, std::uint64_t>> cells_;
};

/// Numbers the fixes of one entity in the order in which they come, from 0, and knows which of them
/// are done with.
class FixNumbers {
public:
    std::uint64_t add(std::int64_t time) {
        latest_ = std::max(latest_, time);
        return count_++;
    }

    /// No series remembers what was before this time, and nothing older comes. In disorder a fix
    /// may be older than those before it, so what counts is the latest of all up to a number; to
    /// know it for some numbers is enough.
    void forget(std::int64_t time) {
        if (latest_ < time) {
            firstNeeded_ = count_;
        } else if (latestBeforeMark_ < time) {
            firstNeeded_ = mark_;
            mark_ = count_;
            latestBeforeMark_ = latest_;
        }
    }

    /// Records to come cover none before this one.
    std::uint64_t firstNeeded() const { return firstNeeded_; }

    bool areDone() const { return firstNeeded_ == count_; }

private:
    std::uint64_t count_ = 0;
    std::uint64_t firstNeeded_ = 0;
    std::int64_t latest_ = 0;
    std::uint64_t mark_ = 0; ///< what is needed, when the fixes before it are done with
    std::int64_t latestBeforeMark_ = 0;
};

std::int64_t lastTimeOf(const STBCompressedEvent& record) {
    // The end wraps for the largest time.
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(record.endTime) - 1);
}

/// The visits of one entity, as far as they are not yet stays. What becomes of them hangs on the
/// entity's fixes alone, not on when some are settled.
class Track {
public:
    /// A fix and the cells that it is near. Its records come after it.
    void addFix(const Event& event, const std::list<SpaceTimeBox>& near, std::int64_t memory) {
        for (const std::size_t at : current_) {
            Visit& visit = visits_[at];
            const bool isNear =
                std::any_of(near.begin(), near.end(), [&visit](const SpaceTimeBox& box) {
                    return visit.cell == static_cast<const SpaceBox&>(box);
                });
            isNear ? visit.addNear(event.time, memory) : visit.addAway(event.time);
        }
        std::erase_if(current_, [this](std::size_t at) { return visits_[at].isOver(); });
    }

    /// A record of the newest fix; its sequence numbers are numbers of fixes.
    void add(const STBCompressedEvent& record, const Event& newest, std::int64_t window,
             std::uint64_t row) {
        Visit& visit = visitOf(record, newest.time, window, row);
        for (const std::int64_t covered : {record.firstTime, lastTimeOf(record)}) {
            visit.covered.include(covered);
            visit.near.include(covered);
        }
        if (visit.pieces.empty() || visit.pieces.back().end < newest.sequenceNumber) {
            for (const std::uint64_t number : record.eventSequenceNumbers) {
                visit.cover(number);
            }
        } else { // it covers what the one before covered, and the newest fix
            visit.cover(newest.sequenceNumber);
        }
    }

    /// Are there so many visits that it is worth it to settle some?
    bool isCrowded() const { return visits_.size() >= settleAt_; }

    /// Makes stays of the visits that nothing to come can change: neither goes on with them nor
    /// shares fixes with them.
    /// @param time         only visits that were near after it can be gone on with
    /// @param firstNeeded  other visits to come have fixes from this one on
    void settle(std::int64_t time, std::uint64_t firstNeeded, const Owner& owner,
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

private:
    static constexpr std::size_t kFewVisits = 2;
    /// Nine cells at most are near at once; the visits to others that may still be gone on with are
    /// few.
    static constexpr std::size_t kMostCurrent = 24;

    /// The visit that a record goes on with, or a new one.
    Visit& visitOf(const STBCompressedEvent& record, std::int64_t time, std::int64_t window,
                   std::uint64_t row) {
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
        return visits_.emplace_back(Visit{cell, window, row, {time, time}, {time, time}});
    }

    /// Of the current visits. If one of them is settled at all, this one is.
    void endOldest() {
        current_.erase(std::min_element(
            current_.begin(), current_.end(), [this](std::size_t left, std::size_t right) {
                return visits_[left].near.last < visits_[right].near.last;
            }));
    }

    /// Drops the other visits, none of which is current.
    template <typename IsKept>
    void keep(IsKept isKept) {
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

    /// For each visit, one of its stop, the same for all of them.
    std::vector<std::size_t> findStops() const {
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

    std::vector<Visit> visits_;         ///< in the order of their beginnings
    std::vector<std::size_t> current_;  ///< those that can be gone on with, ascending
    std::size_t settleAt_ = kFewVisits; ///< when there are so many visits that it is worth it
};

/// What is kept of an entity until its last fix is done with.
struct Entity {
    FixNumbers numbers;
    std::map<std::uint32_t, Track> tracks; ///< by master row
};

class StaysShard : public Shard {
public:
    StaysShard(const Tables& library, const Schema& schema)
        : schema_(schema), lookBack_(library.lookBack()), records_(library) {
        for (const STBMasterRow& master : library.masters()) {
            resolutions_.push_back({static_cast<std::uint32_t>(master.masterId),
                                    MotionProcessor({master}, library.assignments(), {})});
        }
    }

    void take(const Observation& observation, Found&) override {
        Event event = observation.event;
        Entity& entity = entities_[event.eid];
        bool isTaken = false;
        for (const Resolution& resolution : resolutions_) {
            boxes_.clear();
            resolution.processor.getSTB(event, boxes_);
            if (!boxes_.empty()) {
                entity.tracks[resolution.masterId].addFix(event, boxes_, lookBack_);
                isTaken = true;
            }
        }
        if (isTaken) { // then records tell which of the entity's fixes they cover
            event.sequenceNumber = entity.numbers.add(event.time);
        }
        records_.take(event, [&](const STBCompressedEvent& record, const STBCompressionSpec& spec) {
            entity.tracks[record.masterId].add(record, event, spec.windowMillis, observation.row);
        });
    }

    void collect(std::int64_t time) override {
        records_.collect(time);
        const std::int64_t last = time - 1; // a fix may end a millisecond after its time
        for (auto entry = entities_.begin(); entry != entities_.end();) {
            auto& [eid, entity] = *entry;
            entity.numbers.forget(last);
            const bool isDone = entity.numbers.areDone();
            for (auto& [masterId, track] : entity.tracks) {
                if (isDone || track.isCrowded()) {
                    track.settle(last, entity.numbers.firstNeeded(), {eid, masterId}, stays_);
                }
            }
            entry = isDone ? entities_.erase(entry) : std::next(entry);
        }
    }

    void finish(std::vector<LastResult>& results) override {
        for (auto& [eid, entity] : entities_) {
            for (auto& [masterId, track] : entity.tracks) {
                track.settle(std::numeric_limits<std::int64_t>::max(),
                             std::numeric_limits<std::uint64_t>::max(), {eid, masterId}, stays_);
            }
        }
        std::sort(stays_.begin(), stays_.end(), [](const Stay& left, const Stay& right) {
            return std::tie(left.from, left.row, left.owner, left.to, left.fixes) <
                   std::tie(right.from, right.row, right.owner, right.to, right.fixes);
        });
        for (const Stay& stay : stays_) {
            results.push_back({stay.from, stay.row, rowOf(stay)});
        }
    }

private:
    /// A master row, and a processor that tells which cells a fix is near there.
    struct Resolution {
        std::uint32_t masterId;
        MotionProcessor processor;
    };

    ResultRow rowOf(const Stay& stay) {
        constexpr std::int64_t kMinute = 60000;
        ResultRow row{std::vector<Value>(schema_.columns.size()), stay.cells};
        row.values[0].text = EIDName::getEIDNameStr(stay.owner.eid);
        cell_.set(row.values, 1, stay.cells.front());
        std::size_t at = 1 + CellValues::kCount;
        for (const std::int64_t figure :
             {stay.from, stay.to, (stay.to - stay.from + kMinute / 2) / kMinute,
              static_cast<std::int64_t>(stay.fixes),
              static_cast<std::int64_t>(stay.cells.size())}) {
            row.values[at++].whole = figure;
        }
        return row;
    }

    const Schema& schema_;
    const std::int64_t lookBack_;
    LastRecords records_;
    std::vector<Resolution> resolutions_;
    std::unordered_map<std::uint64_t, Entity> entities_; ///< by eid
    std::vector<Stay> stays_;
    std::list<SpaceTimeBox> boxes_;
    CellValues cell_;
};

Schema makeSchema() {
    Schema schema{"stays", {{"entity", ColumnKind::text}}, true};
    CellValues::addColumns(schema.columns);
    schema.columns.insert(schema.columns.end(), {{"from", ColumnKind::time},
                                                 {"to", ColumnKind::time},
                                                 {"minutes", ColumnKind::whole},
                                                 {"fixes", ColumnKind::whole},
                                                 {"cells", ColumnKind::whole}});
    return schema;
}

} // namespace

const Schema& StaysAnalysis::schema() const {
    static const Schema schema = makeSchema();
    return schema;
}

std::unique_ptr<Shard> StaysAnalysis::makeShard() const {
    return std::make_unique<StaysShard>(library_, schema());
}

} // namespace host
