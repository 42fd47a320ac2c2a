#include "qorvel/hangout/detail/DetectorState.h"

#include "qorvel/base/bits.h"
#include "qorvel/base/underLock.h"
#include "qorvel/geohash/detail/boxCell.h"
#include "qorvel/geohash/detail/cellState.h"
#include "qorvel/model/detail/tolerance.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <tuple>
#include <vector>

namespace qorvel_detail {

namespace {

TsListItem itemOf(const Event& event, double timeToleranceFactor) {
    return {event.time, scaledTimeTolerance(event.timeTolerance, timeToleranceFactor),
            event.sequenceNumber};
}

/// The boundary of presence compression: the start of the current box when the box began within
/// the window, else its end.
std::int64_t getTimeBoundary(std::int64_t time, std::uint32_t span, const TimeBoxSpec& spec,
                             TimeBoxMemo& timeBoxes) {
    const std::int64_t start = timeBoxes.start(spec, time);
    return start > wrappingSubtract(time, span) ? start : timeBoxes.end(spec, time);
}

/// Turns the series that pass for one event into records.
class Reporter {
public:
    Reporter(const Event& event, const DetectionRule& rule, std::int64_t boundary,
             const TimeBoxMemo& timeBoxes, RecordSink& sink)
        : event_(event), rule_(rule), boundary_(boundary), timeBoxes_(timeBoxes), sink_(sink) {}

    /// Reports the sides whose count is not 0 and makes up the spec's share of the denominator:
    /// the box before the boundary first. `cell` is the cell as this event computed it, with all
    /// its bits.
    void report(const Cell& cell, const Series& series, const Tally& tally,
                std::uint32_t denominator) {
        const auto passes = [&](std::uint32_t count) {
            return count != 0 && (rule_.takesAll ||
                                  static_cast<double>(count) / static_cast<double>(denominator) >=
                                      rule_.spec.ratio);
        };
        if (passes(tally.beforeCount)) {
            reportSide(cell, boxBefore(), series, tally);
        }
        if (passes(tally.afterCount)) {
            reportSide(cell, boxAfter(), series, tally);
        }
    }

    /// Starts to fetch what `report` will ask about the event's own cell and time.
    void prefetch(const Cell& cell) {
        if (sink_.remembersMuch()) {
            sink_.prefetch(keyOf(cell, event_.time < boundary_ ? boxBefore() : boxAfter()));
        }
    }

private:
    RecordKey keyOf(const Cell& cell, const TimeBox& box) const {
        return {event_.eid, significant(cell), box.start, box.end, rule_.spec.primaryKeyId};
    }

    // The boxes are the same for every cell of an event, and many events need neither.
    const TimeBox& boxBefore() {
        if (!before_) {
            const std::int64_t lastBefore = wrappingSubtract(boundary_, 1);
            before_.emplace(timeBoxes_.startNear(rule_.stbSpec, lastBefore), boundary_);
        }
        return *before_;
    }

    const TimeBox& boxAfter() {
        if (!after_) {
            after_.emplace(boundary_, timeBoxes_.endNear(rule_.stbSpec, boundary_));
        }
        return *after_;
    }

    void reportSide(const Cell& cell, const TimeBox& box, const Series& series,
                    const Tally& tally) {
        if (sink_.wants(keyOf(cell, box))) {
            sink_.take({event_, rule_.spec, cell, box, series, tally});
        }
    }

    const Event& event_;
    const DetectionRule& rule_;
    std::int64_t boundary_;
    const TimeBoxMemo& timeBoxes_;
    RecordSink& sink_;
    std::optional<TimeBox> before_;
    std::optional<TimeBox> after_;
};

/// Whether a cell is one of those near the previous event. Near cells are few: no table.
class PreviousCells {
public:
    /// None where there was no previous event.
    PreviousCells(const std::optional<Position>& previous, std::uint32_t depth, double radius) {
        if (!previous) {
            return;
        }
        NearCells near;
        previous->findNear(depth, radius, near);
        std::transform(near.cells.begin(), near.cells.begin() + near.count, cells_.begin(),
                       [](const Cell& cell) { return significant(cell); });
        count_ = near.count;
    }

    bool contains(const Cell& cell) const {
        const auto end = cells_.begin() + count_;
        return std::find(cells_.begin(), end, cell) != end;
    }

private:
    std::array<Cell, std::tuple_size_v<decltype(NearCells::cells)>> cells_{};
    std::uint32_t count_ = 0;
};

/// Starts to fetch what the event's own cell will need, while the cells near it are computed.
void prefetchOwn(const CellTable& cells, const Position& position, std::uint32_t depth,
                 Reporter& reporter) {
    const Cell& own = position.ownCell();
    const Cell cell = significant(own.first, own.second, depth);
    cells.prefetch(cell);
    reporter.prefetch(cell);
}

/// Stayed near the cell for at least the span. An empty series (wrapped times can empty one) covers
/// nothing.
bool coversSpan(const Series& series, std::uint32_t span) {
    return !series.empty() &&
           wrappingSubtract(endOf(series.back()), beginOf(series.front())) >= std::int64_t{span};
}

/// Of an entity that has but few cells, as most have: to look through many takes longer than to
/// wait for one.
void fetchItemsOf(const CellTable& cells) {
    constexpr std::uint32_t kFew = 4;
    if (cells.size() <= kFew) {
        cells.forEach([](const CellSlot& slot) { slot.series.prefetch(); });
    }
}

bool isHangout(const Series& series, const DetectionRule& rule) {
    return rule.takesAll
               ? !series.empty()
               : coversSpan(series, rule.spec.windowMillis) && series.size() >= rule.spec.minCount;
}

} // namespace

DetectorState::DetectorState() : lock_(std::make_shared<StbSimpleMutex>()) {}

void DetectorState::gc(std::int64_t time) {
    underLock(*lock_, [&] { gcUnlocked(time); });
}

bool DetectorState::processPresence(const Event& event, const Position& position,
                                    const DetectionRule& rule, RecordSink& sink) {
    return underLock(*lock_, [&] { return processPresenceUnlocked(event, position, rule, sink); });
}

bool DetectorState::processDwell(const Event& event, const Position& position,
                                 const DetectionRule& rule, RecordSink& sink) {
    return underLock(*lock_, [&] { return processDwellUnlocked(event, position, rule, sink); });
}

void DetectorState::fetch(std::uint64_t later, std::uint64_t sooner) const {
    if (!isLarge()) {
        return;
    }
    entities_.prefetch(later);
    lastEvents_.prefetch(later);
    if (const EntitySlot* const entity = entities_.find(sooner)) {
        entity->cells.prefetchFirst();
    }
}

void DetectorState::fetchItems(std::uint64_t eid) const {
    if (!isLarge()) {
        return;
    }
    if (const EntitySlot* const entity = entities_.find(eid)) {
        fetchItemsOf(entity->cells);
    }
}

void DetectorState::gcUnlocked(std::int64_t time) {
    const Cutoff cutoff = Cutoff::notBefore(time);
    const auto isDone = [&cutoff](EntitySlot& entity) {
        entity.cells.eraseIf([&cutoff](CellSlot& cell) {
            cell.series.forget(cutoff);
            if (cell.series.empty()) {
                return true;
            }
            cell.series.releaseSpareRoom();
            return false;
        });
        return entity.cells.size() == 0;
    };
    entities_.eraseIf(
        isDone, [](const EntitySlot& entity) { entity.cells.prefetchFirst(); },
        [](const EntitySlot& entity) { fetchItemsOf(entity.cells); });
}

bool DetectorState::processPresenceUnlocked(const Event& event, const Position& position,
                                            const DetectionRule& rule, RecordSink& sink) {
    CellTable& cells = entities_.findOrAdd(event.eid).cells; // also when no cell is near
    const std::uint32_t depth = rule.stbSpec.geoHashBitDepth;
    const std::uint32_t span = rule.spec.windowMillis;
    const Cutoff cutoff = Cutoff::after(wrappingSubtract(event.time, span));
    const std::int64_t boundary = getTimeBoundary(event.time, span, rule.stbSpec, timeBoxes_);
    Reporter reporter(event, rule, boundary, timeBoxes_, sink);
    prefetchOwn(cells, position, depth, reporter);

    NearCells near;
    position.findNear(depth, event.spaceTolerance * rule.spaceToleranceFactor, near);
    const TsListItem item = itemOf(event, rule.timeToleranceFactor);
    bool found = false;
    for (std::uint32_t i = 0; i < near.count; ++i) {
        Series& series = cells.findOrAdd(significant(near.cells[i])).series;
        series.append(item);
        series.forget(cutoff);
        if (rule.takesAll || series.size() >= rule.spec.minCount) {
            const Tally tally = series.tally(boundary);
            reporter.report(near.cells[i], series, tally, tally.beforeCount + tally.afterCount);
            found = true;
        }
    }
    return found;
}

bool DetectorState::processDwellUnlocked(const Event& event, const Position& position,
                                         const DetectionRule& rule, RecordSink& sink) {
    CellTable& cells = entities_.findOrAdd(event.eid).cells; // also when no cell is near
    const std::uint32_t depth = rule.stbSpec.geoHashBitDepth;
    const double radius = event.spaceTolerance * rule.spaceToleranceFactor;
    const Cutoff cutoff =
        Cutoff::notBefore(wrappingSubtract(event.time, rule.stbSpec.getDurationMillis()));
    const std::int64_t boundary = timeBoxes_.start(rule.stbSpec, event.time);
    Reporter reporter(event, rule, boundary, timeBoxes_, sink);
    prefetchOwn(cells, position, depth, reporter);

    NearCells near;
    position.findNear(depth, radius, near);
    // The cells near the previous event, by the radius of this one: with one measure for both, an
    // entity that did not move has left no cell.
    const PreviousCells previous(replaceLastEvent(event), depth, radius);
    const TsListItem item = itemOf(event, rule.timeToleranceFactor);
    bool found = false;
    for (std::uint32_t i = 0; i < near.count; ++i) {
        const Cell cell = significant(near.cells[i]);
        Series& series = cells.findOrAdd(cell).series;
        if (!previous.contains(cell)) {
            series.clear(); // the entity was elsewhere: its stay begins anew
        }
        series.append(item);
        series.forget(cutoff);
        if (isHangout(series, rule)) {
            reporter.report(near.cells[i], series, series.tally(boundary), rule.spec.minCount);
            found = true;
        }
    }
    return found;
}

/// The position of the entity's last event, if there was one; that of this event takes its place.
std::optional<Position> DetectorState::replaceLastEvent(const Event& event) {
    const std::uint32_t known = lastEvents_.size();
    LastEventSlot& last = lastEvents_.findOrAdd(event.eid);
    std::optional<Position> replaced;
    if (lastEvents_.size() == known) {
        replaced.emplace(last.latitude(), last.longitude());
    }
    last.place(event.latitude, event.longitude);
    return replaced;
}

namespace {

// What is kept of an entity: whether it has series, and a last event.
constexpr std::uint8_t kHasCells = 1;
constexpr std::uint8_t kHasLastEvent = 2;

constexpr std::size_t kItemSize = 8 + 4 + 8;
constexpr std::size_t kLeastCellSize = 8 + 8 + 4 + 8;
constexpr std::uint64_t kManyCells = std::uint64_t{1}
                                     << 20U; ///< beyond that, room is made as usual

auto orderOf(const Cell& cell) {
    return std::tuple(cell.depth, cell.first, cell.second);
}

} // namespace

void DetectorState::addEntities(std::vector<std::uint64_t>& eids) const {
    entities_.forEach([&eids](const EntitySlot& slot) { eids.push_back(slot.eid); });
    lastEvents_.forEach([&eids](const LastEventSlot& slot) { eids.push_back(slot.eid); });
}

bool DetectorState::save(std::uint64_t eid, StateWriter& out) const {
    const EntitySlot* const entity = entities_.find(eid);
    const LastEventSlot* const last = lastEvents_.find(eid);
    if (entity == nullptr && last == nullptr) {
        return false;
    }
    out.u8(static_cast<std::uint8_t>((entity != nullptr ? kHasCells : 0U) |
                                     (last != nullptr ? kHasLastEvent : 0U)));
    if (last != nullptr) {
        out.f64(last->latitude());
        out.f64(last->longitude());
    }
    if (entity != nullptr) {
        saveCells(entity->cells, out);
    }
    return true;
}

void DetectorState::load(std::uint64_t eid, StateReader& in) {
    const std::uint8_t has = in.u8();
    in.expect(has > 0 && has <= (kHasCells | kHasLastEvent));
    if ((has & kHasLastEvent) != 0 && in.isGood()) {
        const double latitude = in.f64();
        lastEvents_.findOrAdd(eid).place(latitude, in.f64());
    }
    if ((has & kHasCells) != 0 && in.isGood()) {
        loadCells(entities_.findOrAdd(eid).cells, in);
    }
}

void DetectorState::saveCells(const CellTable& cells, StateWriter& out) {
    // Mostly there are few, for which no memory is asked.
    constexpr std::uint32_t kFew = 16;
    std::array<const CellSlot*, kFew> few{};
    std::vector<const CellSlot*> many(cells.size() > kFew ? cells.size() : 0);
    const CellSlot** const sorted = many.empty() ? few.data() : many.data();
    const CellSlot** end = sorted;
    cells.forEach([&end](const CellSlot& slot) { *end++ = &slot; });
    std::sort(sorted, end, [](const CellSlot* left, const CellSlot* right) {
        return orderOf(left->key()) < orderOf(right->key());
    });
    out.u64(cells.size());
    std::for_each(sorted, end, [&out](const CellSlot* slot) { saveSeries(*slot, out); });
}

void DetectorState::saveSeries(const CellSlot& slot, StateWriter& out) {
    const Series& series = slot.series;
    saveCell(slot.key(), out);
    out.u64(series.size());
    for (std::uint32_t i = 0; i < series.size(); ++i) {
        out.i64(series[i].time);
        out.u32(series[i].tolerance);
        out.u64(series[i].sequenceNumber);
    }
}

void DetectorState::loadCells(CellTable& cells, StateReader& in) {
    const std::uint64_t count = in.count(kLeastCellSize);
    cells.reserve(static_cast<std::uint32_t>(std::min(count, kManyCells)));
    for (std::uint64_t left = count; left > 0; --left) {
        const Cell cell = loadCell(in);
        const std::uint64_t items = in.count(kItemSize);
        in.expect(items <= UINT32_MAX);
        if (!in.isGood()) {
            return;
        }
        const std::uint32_t known = cells.size();
        Series& series = cells.findOrAdd(cell).series;
        in.expect(cells.size() > known); // none is there twice
        if (!in.isGood()) {
            return;
        }
        series.reserve(static_cast<std::uint32_t>(items));
        for (std::uint64_t i = 0; i < items; ++i) {
            TsListItem item;
            item.time = in.i64();
            item.tolerance = in.u32();
            item.sequenceNumber = in.u64();
            series.append(item);
        }
    }
}

template <typename Count>
std::uint64_t DetectorState::sumOverEntities(Count count) const {
    return underLock(*lock_, [&] {
        std::uint64_t sum = 0;
        entities_.forEach([&](const EntitySlot& entity) { sum += count(entity.cells); });
        return sum;
    });
}

std::uint64_t DetectorState::entityCount() const {
    return sumOverEntities([](const CellTable&) { return 1U; });
}

std::uint64_t DetectorState::cellCount() const {
    return sumOverEntities([](const CellTable& cells) { return cells.size(); });
}

std::uint64_t DetectorState::itemCount() const {
    return sumOverEntities([](const CellTable& cells) {
        std::uint64_t items = 0;
        cells.forEach([&items](const CellSlot& cell) { items += cell.series.size(); });
        return items;
    });
}

} // namespace qorvel_detail
