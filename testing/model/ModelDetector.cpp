#include "testing/model/ModelDetector.h"

#include "qorvel/base/bits.h"
#include "qorvel/model/SpaceTimeBox.h"
#include "qorvel/model/TimeBox.h"

#include <algorithm>

namespace model {

using qorvel_detail::wrappingAdd;
using qorvel_detail::wrappingSubtract;

namespace {

std::int64_t beginOf(const TsListItem& item) {
    return wrappingSubtract(item.time, item.tolerance);
}

std::int64_t endOf(const TsListItem& item) {
    return wrappingAdd(item.time, item.tolerance);
}

TsListItem itemOf(const Event& event, double timeToleranceFactor) {
    TsListItem item;
    item.time = event.time;
    item.tolerance = qorvel_detail::truncateToUint32(static_cast<double>(event.timeTolerance) *
                                                     timeToleranceFactor);
    item.sequenceNumber = event.sequenceNumber;
    return item;
}

} // namespace

void ModelDetector::Tally::add(const TsListItem& item, std::int64_t boundary) {
    count += 1;
    eventIds.push_back(item.sequenceNumber);
    if (beginOf(item) < boundary) {
        beforeCount += 1;
    }
    if (endOf(item) >= boundary) {
        afterCount += 1;
    }
    if (item.time >= boundary) {
        firstAfter = std::min(firstAfter, item.time);
    } else {
        lastBefore = std::max(lastBefore, item.time);
    }
}

ModelDetector::ModelDetector() : lock_(std::make_shared<StbSimpleMutex>()) {}

std::int64_t ModelDetector::getTimeBoundary(const std::int64_t& time, const std::uint32_t& span,
                                            const TimeBoxSpec& spec) {
    const std::int64_t start = spec.getTimeBoxStart(time);
    const std::int64_t end = spec.getTimeBoxEnd(time);
    return start > wrappingSubtract(time, span) ? start : end;
}

bool ModelDetector::detectHangout(Series& items, const std::int64_t& time,
                                  const std::uint32_t& span, const std::uint32_t& minCount,
                                  const std::int64_t& boundary, Tally& tally) {
    for (auto item = items.begin(); item != items.end();) {
        if (endOf(*item) > wrappingSubtract(time, span)) {
            tally.add(*item, boundary);
            ++item;
        } else {
            item = items.erase(item);
        }
    }
    return tally.count >= minCount;
}

bool ModelDetector::detectDwellTimeHangout(Series& items, const std::uint32_t& span,
                                           const std::uint32_t& minCount,
                                           const std::int64_t& boundary,
                                           const std::int64_t& oldestEnd, Tally& tally) {
    for (auto item = items.begin(); item != items.end();) {
        if (endOf(*item) >= oldestEnd) {
            tally.add(*item, boundary);
            ++item;
        } else {
            item = items.erase(item);
        }
    }
    if (items.empty()) {
        return false; // only where times wrap
    }
    const std::int64_t covered = wrappingSubtract(endOf(items.back()), beginOf(items.front()));
    return covered >= span && tally.count >= minCount;
}

void ModelDetector::emit(const Event& event, const SpaceBox& cell, const Series& items,
                         const Tally& tally, const Split& split, const STBCompressionSpec& spec,
                         const TimeBoxSpec& timeSpec, std::list<STBCompressedEvent>& out) {
    if (items.empty()) {
        return; // a minimum of 0 holds for an empty series too
    }
    const std::int64_t firstTime = items.front().time;
    const std::int64_t endTime = wrappingAdd(items.back().time, 1);
    const TimeBox beforeBox(timeSpec.getTimeBoxStart(wrappingSubtract(split.boundary, 1)),
                            split.boundary);
    const TimeBox afterBox(split.boundary, timeSpec.getTimeBoxEnd(split.boundary));

    const auto emitSide = [&](std::uint32_t sideCount, const TimeBox& timeBox) {
        if (sideCount != 0 && static_cast<double>(sideCount) / split.denominator >= spec.ratio) {
            out.push_back(STBCompressedEvent(
                event.eid, tally.eventIds, spec.primaryKeyId,
                static_cast<std::uint32_t>(event.secondaryKeyId), spec.masterId,
                SpaceTimeBox(cell, timeBox), firstTime, endTime, tally.lastBefore, tally.firstAfter,
                tally.beforeCount + tally.afterCount, tally.beforeCount, tally.afterCount));
        }
    };
    emitSide(tally.beforeCount, beforeBox);
    emitSide(tally.afterCount, afterBox);
}

bool ModelDetector::processEventPresenceCompression(const Event& event,
                                                    const double& timeToleranceFactor,
                                                    const double& spaceToleranceFactor,
                                                    const STBCompressionSpec& spec,
                                                    const SpaceTimeBoxSpec& stbSpec,
                                                    std::list<STBCompressedEvent>& out) {
    bool result = false;
    lock_->lock();
    CellTable& cells = presence_[event.eid];
    const double radius = event.spaceTolerance * spaceToleranceFactor;
    std::uint32_t cellCount = 0;
    pointToSpaceBoxes(event.latitude, event.longitude, stbSpec.geoHashBitDepth, radius,
                      currentCells_, cellCount);
    for (std::uint32_t i = 0; i < cellCount; ++i) {
        const SpaceBox& cell = currentCells_[i];
        Series& items = cells[cell];
        items.push_back(itemOf(event, timeToleranceFactor));
        const std::int64_t boundary = getTimeBoundary(event.time, spec.windowMillis, stbSpec);
        Tally tally;
        const bool detected =
            detectHangout(items, event.time, spec.windowMillis, spec.minCount, boundary, tally);
        if (detected) {
            const auto total = static_cast<double>(tally.beforeCount + tally.afterCount);
            emit(event, cell, items, tally, {boundary, total}, spec, stbSpec, out);
        }
        result = result || detected;
    }
    lock_->unlock();
    return result;
}

bool ModelDetector::processEventDwellTime(const Event& event, const double& timeToleranceFactor,
                                          const double& spaceToleranceFactor,
                                          const STBCompressionSpec& spec,
                                          const SpaceTimeBoxSpec& stbSpec,
                                          std::list<STBCompressedEvent>& out) {
    bool result = false;
    lock_->lock();
    CellTable& cells = presence_[event.eid];
    const double radius = event.spaceTolerance * spaceToleranceFactor;
    std::uint32_t cellCount = 0;
    pointToSpaceBoxes(event.latitude, event.longitude, stbSpec.geoHashBitDepth, radius,
                      currentCells_, cellCount);
    std::uint32_t previousCount = 0;
    const auto last = lastEvents_.find(event.eid);
    if (last != lastEvents_.end()) {
        pointToSpaceBoxes(last->second.latitude, last->second.longitude, stbSpec.geoHashBitDepth,
                          radius, previousCells_, previousCount);
        last->second = event;
    } else {
        lastEvents_.insert({event.eid, event});
    }
    for (std::uint32_t i = 0; i < cellCount; ++i) {
        const SpaceBox& cell = currentCells_[i];
        Series& items = cells[cell];
        SpaceBox* const previousEnd = previousCells_.data() + previousCount;
        if (std::find(previousCells_.data(), previousEnd, cell) == previousEnd) {
            items.clear();
        }
        items.push_back(itemOf(event, timeToleranceFactor));
        const std::int64_t boundary = stbSpec.getTimeBoxStart(event.time);
        const std::int64_t oldestEnd = wrappingSubtract(event.time, stbSpec.getDurationMillis());
        Tally tally;
        const bool detected = detectDwellTimeHangout(items, spec.windowMillis, spec.minCount,
                                                     boundary, oldestEnd, tally);
        if (detected) {
            const auto minimum = static_cast<double>(spec.minCount);
            emit(event, cell, items, tally, {boundary, minimum}, spec, stbSpec, out);
        }
        result = result || detected;
    }
    lock_->unlock();
    return result;
}

void ModelDetector::gc(const std::int64_t& time) {
    lock_->lock();
    for (auto entity = presence_.begin(); entity != presence_.end();) {
        CellTable& cells = entity->second;
        for (auto cell = cells.begin(); cell != cells.end();) {
            Series& items = cell->second;
            for (auto item = items.begin(); item != items.end();) {
                item = endOf(*item) < time ? items.erase(item) : std::next(item);
            }
            cell = items.empty() ? cells.erase(cell) : std::next(cell);
        }
        entity = cells.empty() ? presence_.erase(entity) : std::next(entity);
    }
    lock_->unlock();
}

std::uint64_t ModelDetector::getEntityCount() const {
    return presence_.size();
}

std::uint64_t ModelDetector::getCellCount() const {
    std::uint64_t count = 0;
    for (const auto& entity : presence_) {
        count += entity.second.size();
    }
    return count;
}

std::uint64_t ModelDetector::getItemCount() const {
    std::uint64_t count = 0;
    for (const auto& entity : presence_) {
        for (const auto& cell : entity.second) {
            count += cell.second.size();
        }
    }
    return count;
}

} // namespace model
