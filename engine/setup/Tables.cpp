#include "engine/setup/Tables.h"

#include "engine/setup/records.h"

#include <algorithm>
#include <sstream>

namespace qorvel_engine {

Tables::Tables(const Config& config, ProcessorKind kind) : kind_(kind) {
    throwErrors(checkConfig(config, kind), config.file);
    std::stringstream errors;
    for (const Config::Assignment& assignment : config.assignments) {
        assignments_.push_back(makeAssignment(assignment, errors));
    }
    for (const Config::Master& master : config.masters) {
        masters_.push_back(makeMaster(master, errors));
    }
    for (const Config::Spec& spec : config.specs(kind)) {
        specs_.push_back(makeSpec(spec, kind, errors));
    }
}

std::int64_t Tables::lookBack() const {
    std::int64_t longest = -1;
    for (const STBCompressionSpec& spec : specs_) {
        // A hangout's series reaches back by the length of a time box.
        longest = std::max<std::int64_t>(longest, kind_ == ProcessorKind::presence
                                                      ? spec.windowMillis
                                                      : masterOf(spec).stbSpec.getDurationMillis());
    }
    return longest;
}

const STBMasterRow& Tables::masterOf(const STBCompressionSpec& spec) const {
    return *std::find_if(masters_.begin(), masters_.end(), [&spec](const STBMasterRow& master) {
        return static_cast<std::uint32_t>(master.masterId) == spec.masterId;
    });
}

MotionProcessor makeProcessor(const Tables& tables) {
    std::stringstream errors;
    return makeProcessor(tables.kind(), tables.masters(), tables.assignments(), tables.specs(),
                         errors);
}

} // namespace qorvel_engine
