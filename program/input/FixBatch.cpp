#include "program/input/FixBatch.h"

namespace program {

void FixBatch::clear() {
    entities_.clear();
    latitudes_.clear();
    longitudes_.clear();
    times_.clear();
    accuracies_.clear();
    hasAccuracy_.clear();
    primaryKeys_.clear();
    secondaryKeys_.clear();
}

void FixBatch::append(const Fix& fix) {
    const std::size_t bit = times_.size() % 8;
    if (bit == 0) {
        hasAccuracy_.push_back(0);
    }
    hasAccuracy_.back() |= static_cast<std::uint8_t>((fix.accuracyM ? 1U : 0U) << bit);
    entities_.append(fix.entity);
    latitudes_.push_back(fix.latitude);
    longitudes_.push_back(fix.longitude);
    times_.push_back(fix.time);
    accuracies_.push_back(fix.accuracyM.value_or(0.0));
    primaryKeys_.append(fix.primaryKey);
    secondaryKeys_.append(fix.secondaryKey);
}

qorvel_engine::Observations FixBatch::observations() const {
    using qorvel_engine::RealValues;
    qorvel_engine::ObservationColumns columns;
    columns.size = static_cast<std::int64_t>(times_.size());
    columns.entityText = entities_.values();
    columns.latitude = RealValues(latitudes_.data());
    columns.longitude = RealValues(longitudes_.data());
    columns.time = qorvel_engine::TimeValues(times_.data());
    columns.accuracy = RealValues(accuracies_.data(), hasAccuracy_.data());
    columns.primaryKey = primaryKeys_.values();
    columns.secondaryKey = secondaryKeys_.values();
    return qorvel_engine::Observations(columns);
}

} // namespace program
