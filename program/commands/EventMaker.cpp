#include "program/commands/EventMaker.h"

#include "engine/setup/Config.h"

namespace program {

std::string EventMaker::make(const Fix& fix, Event& event) {
    static const std::string kAnyKey = qorvel_engine::anyPrimaryKey();
    const double tolerance = fix.accuracyM.value_or(options_.defaultTolerance);
    if (QorvelMotionProcessorAPI::createEvent(fix.primaryKey.empty() ? kAnyKey : fix.primaryKey,
                                              fix.entity, fix.secondaryKey, fix.latitude,
                                              fix.longitude, tolerance, fix.time,
                                              options_.timeTolerance, event, errors_) == 0) {
        return "";
    }
    std::string tags = errors_.str();
    errors_.str("");
    return tags;
}

} // namespace program
