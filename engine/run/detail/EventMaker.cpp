#include "engine/run/detail/EventMaker.h"

#include "engine/columns/Fault.h"
#include "engine/run/detail/RegistryLock.h"

#include <limits>

namespace qorvel_engine::detail {

namespace {

KeyNumbers makeKeyNumbers(const Config& config) {
    const RegistryLock lock;
    return KeyNumbers(config);
}

} // namespace

void expectPossible(const EventOptions& options) {
    const auto want = [](bool holds, const char* otherwise) {
        if (!holds) {
            throw Fault(FaultCode::badConfiguration, otherwise);
        }
    };
    want(options.defaultTolerance >= 0.0 &&
             options.defaultTolerance <= std::numeric_limits<double>::max(),
         "The default tolerance has to be a number of metres from 0 on.");
    want(options.timeTolerance <= 1, "The time tolerance has to be 0 or 1 millisecond.");
}

EventMaker::EventMaker(const Config& config, const EventOptions& options)
    : options_(options), keys_(makeKeyNumbers(config)) {
    expectPossible(options);
}

qorvel::Event EventMaker::make(const Observations& columns, std::int64_t row,
                               std::uint64_t number) const {
    qorvel::Event event;
    event.primaryKeyId = keys_.primary(columns.primaryKey(row));
    event.secondaryKeyId = keys_.secondary(columns.secondaryKey(row));
    event.sequenceNumber = number;
    event.timeTolerance = options_.timeTolerance;
    setFix(event, columns, row, options_.defaultTolerance);
    return event;
}

} // namespace qorvel_engine::detail
