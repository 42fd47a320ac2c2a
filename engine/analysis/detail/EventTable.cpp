#include "engine/analysis/detail/EventTable.h"

namespace qorvel_engine::detail {

namespace {

/// What a function says of each row.
template <class Value, class ValueOf>
void readEach(std::vector<Value>& values, const std::vector<std::int64_t>& rows,
              const ValueOf& valueOf) {
    values.resize(rows.size());
    for (std::size_t at = 0; at < rows.size(); ++at) {
        values[at] = valueOf(rows[at]);
    }
}

} // namespace

void EventTable::readFixes(const Observations& columns, double defaultTolerance,
                           std::uint32_t timeTolerance) {
    readEach(latitudes_, rows_, [&](std::int64_t row) { return columns.latitude(row); });
    readEach(longitudes_, rows_, [&](std::int64_t row) { return columns.longitude(row); });
    readEach(times_, rows_, [&](std::int64_t row) { return columns.timeMs(row); });
    readEach(spaceTolerances_, rows_,
             [&](std::int64_t row) { return spaceToleranceOf(columns, row, defaultTolerance); });
    timeTolerance_ = timeTolerance;
}

} // namespace qorvel_engine::detail
