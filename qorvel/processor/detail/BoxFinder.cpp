#include "qorvel/processor/detail/BoxFinder.h"

#include "qorvel/processor/detail/FigureCollector.h"
#include "qorvel/processor/detail/RowBoxes.h"

#include <utility>

namespace qorvel_detail {

using qorvel_port::BoxFigures;
using qorvel_port::EventColumns;

namespace {

/// Do both rows give an event the same boxes, if they take it?
bool giveTheSame(const Configuration::Row& one, const Configuration::Row& other) {
    return one.master == other.master &&
           one.tests.row().timeToleranceFactor == other.tests.row().timeToleranceFactor &&
           one.tests.row().spaceToleranceFactor == other.tests.row().spaceToleranceFactor;
}

} // namespace

BoxFinder::BoxFinder(std::shared_ptr<const Configuration> configuration)
    : configuration_(std::move(configuration)), timeBoxes_(configuration_->masterCount()) {}

void BoxFinder::find(const EventColumns& events, std::vector<BoxFigures>& out) {
    Event event;
    event.timeTolerance = events.timeTolerance;
    for (std::uint32_t number = 0; number < events.size; ++number) {
        event.primaryKeyId = events.primaryKeys[number];
        event.secondaryKeyId = events.secondaryKeys[number];
        event.latitude = events.latitudes[number];
        event.longitude = events.longitudes[number];
        event.spaceTolerance = events.spaceTolerances[number];
        event.time = events.times[number];
        find(event, number, out);
    }
}

void BoxFinder::find(const Event& event, std::uint32_t number, std::vector<BoxFigures>& out) {
    const Position position(event.latitude, event.longitude);
    if (!position.hasCell()) {
        return;
    }
    lookUp(event, position.ownCell());
    if (candidates_.size() != 1) {
        findInMany(event, position, number, out);
        return;
    }
    const Configuration::Row& row = configuration_->row(candidates_.front());
    if (!configuration_->applies(row, event, position)) {
        return;
    }
    const RowBoxes boxes(event, position, row, timeBoxes_[row.masterNumber]);
    if (boxes.mayRepeat()) {
        findInMany(event, position, number, out);
        return;
    }
    boxes.forEach([&](const Cell& cell, const Interval& time) {
        out.push_back({cell.first, cell.second, cell.depth, number, time.from, time.end});
    });
}

/// Rows that give the same often stand one after the other: such as the zones of one customer.
void BoxFinder::findInMany(const Event& event, const Position& position, std::uint32_t number,
                           std::vector<BoxFigures>& out) {
    FigureCollector collector(out);
    const Configuration::Row* last = nullptr;
    for (const std::uint32_t candidate : candidates_) {
        const Configuration::Row& row = configuration_->row(candidate);
        const bool isKnown = last != nullptr && giveTheSame(*last, row);
        if (isKnown || !configuration_->applies(row, event, position)) {
            continue;
        }
        last = &row;
        RowBoxes(event, position, row, timeBoxes_[row.masterNumber])
            .forEach([&](const Cell& cell, const Interval& time) {
                collector.insert(
                    {cell.first, cell.second, cell.depth, number, time.from, time.end});
            });
    }
}

void BoxFinder::lookUp(const Event& event, const Cell& ownCell) {
    const RowIndex& index = configuration_->rowIndex();
    const Cell cell = index.finestCell(ownCell);
    if (hasCandidates_ && cell == cell_ && event.primaryKeyId == primaryKey_ &&
        event.secondaryKeyId == secondaryKey_) {
        return;
    }
    hasCandidates_ = false;
    candidates_.clear();
    index.forEachCandidate(event, ownCell,
                           [this](std::uint32_t number) { candidates_.push_back(number); });
    cell_ = cell;
    primaryKey_ = event.primaryKeyId;
    secondaryKey_ = event.secondaryKeyId;
    hasCandidates_ = true;
}

} // namespace qorvel_detail
