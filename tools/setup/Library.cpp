#include "tools/setup/Library.h"

#include "tools/Failure.h"
#include "tools/setup/records.h"

#include <algorithm>

namespace host {

Library::Library(const Config& config, Use use) : use_(use) {
    const std::string objections = describeErrors(checkConfig(config, use), config.file);
    if (!objections.empty()) {
        throw Failure(ExitCode::usage, objections);
    }
    std::stringstream errors;
    for (const Config::Assignment& assignment : config.assignments) {
        assignments_.push_back(makeAssignment(assignment, errors));
    }
    for (const Config::Master& master : config.masters) {
        masters_.push_back(makeMaster(master, errors));
    }
    for (const Config::Spec& spec : config.specs(use)) {
        specs_.push_back(makeSpec(spec, use, errors));
    }
}

MotionProcessor Library::makeProcessor() const {
    std::stringstream errors;
    return host::makeProcessor(use_, masters_, assignments_, specs_, errors);
}

std::int64_t Library::lookBack() const {
    std::int64_t longest = -1;
    for (const STBCompressionSpec& spec : specs_) {
        // A hangout's series reaches back by the length of a time box.
        longest = std::max<std::int64_t>(longest, use_ == Use::presence
                                                      ? spec.windowMillis
                                                      : masterOf(spec).stbSpec.getDurationMillis());
    }
    return longest;
}

const STBMasterRow& Library::masterOf(const STBCompressionSpec& spec) const {
    return *std::find_if(masters_.begin(), masters_.end(), [&spec](const STBMasterRow& master) {
        return static_cast<std::uint32_t>(master.masterId) == spec.masterId;
    });
}

std::string EventMaker::make(const Fix& fix, Event& event) {
    static const std::string kAnyKey = "ANY";
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

} // namespace host
