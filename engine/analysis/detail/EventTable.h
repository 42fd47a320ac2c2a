#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_EVENTTABLE_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_EVENTTABLE_H

#include "engine/columns/Observations.h"

#include "qorvel/processor/detail/FigureProcessor.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qorvel_engine::detail {

/// The tolerance of a row, metres: -0.0 is none.
inline double spaceToleranceOf(const Observations& columns, std::int64_t row,
                               double defaultTolerance) {
    const double tolerance = columns.accuracy(row).value_or(defaultTolerance);
    return tolerance > 0.0 ? tolerance : 0.0;
}

/// Rows that can be used, as events in columns. Who and by which keys is told first, row by row;
/// where and when is read of the rows' columns at once.
class EventTable {
public:
    void clear() {
        rows_.clear();
        entities_.clear();
        primaryKeys_.clear();
        secondaryKeys_.clear();
    }
    void reserve(std::size_t size) {
        rows_.reserve(size);
        entities_.reserve(size);
        primaryKeys_.reserve(size);
        secondaryKeys_.reserve(size);
    }
    /// @param at  its place in the columns
    void add(std::int64_t at, std::uint64_t eid, std::int32_t primaryKey,
             std::int32_t secondaryKey) {
        rows_.push_back(at);
        entities_.push_back(eid);
        primaryKeys_.push_back(primaryKey);
        secondaryKeys_.push_back(secondaryKey);
    }
    std::size_t size() const { return rows_.size(); }

    /// Metres and milliseconds, for rows without an accuracy and for all.
    void readFixes(const Observations& columns, double defaultTolerance,
                   std::uint32_t timeTolerance);

    /// Those from..to. After readFixes().
    qorvel_port::EventColumns events(std::size_t from, std::size_t to) const {
        return {to - from,
                primaryKeys_.data() + from,
                secondaryKeys_.data() + from,
                latitudes_.data() + from,
                longitudes_.data() + from,
                spaceTolerances_.data() + from,
                times_.data() + from,
                timeTolerance_};
    }

    /// By event.
    const std::vector<std::uint64_t>& entities() const { return entities_; }
    const std::vector<std::int64_t>& times() const { return times_; }

private:
    std::vector<std::int64_t> rows_;
    std::vector<std::uint64_t> entities_;
    std::vector<std::int32_t> primaryKeys_;
    std::vector<std::int32_t> secondaryKeys_;
    std::vector<double> latitudes_;
    std::vector<double> longitudes_;
    std::vector<double> spaceTolerances_;
    std::vector<std::int64_t> times_;
    std::uint32_t timeTolerance_ = 0;
};

} // namespace qorvel_engine::detail

#endif
