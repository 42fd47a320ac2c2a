#ifndef QORVEL_ENGINE_RUN_DETAIL_EVENTMAKER_H
#define QORVEL_ENGINE_RUN_DETAIL_EVENTMAKER_H

#include "engine/analysis/detail/EventTable.h"
#include "engine/columns/Observations.h"
#include "engine/run/EventOptions.h"
#include "engine/run/detail/KeyNumbers.h"

#include "qorvel/model/Event.h"

#include <cstdint>

namespace qorvel_engine::detail {

/// Throws the Fault `badConfiguration` for options that cannot be.
void expectPossible(const EventOptions& options);

/// Where and when a row that can be used was.
inline void setFix(qorvel::Event& event, const Observations& columns, std::int64_t row,
                   double defaultTolerance) {
    event.latitude = columns.latitude(row);
    event.longitude = columns.longitude(row);
    event.spaceTolerance = spaceToleranceOf(columns, row, defaultTolerance);
    event.time = columns.timeMs(row);
}

/// Makes events of single rows that can be used, for who looks into them.
class EventMaker {
public:
    /// Registers the keys of the configuration. Throws as expectPossible.
    EventMaker(const Config& config, const EventOptions& options);

    /// @param number  becomes the event's sequence number
    qorvel::Event make(const Observations& columns, std::int64_t row, std::uint64_t number) const;

private:
    EventOptions options_;
    KeyNumbers keys_;
};

} // namespace qorvel_engine::detail

#endif
