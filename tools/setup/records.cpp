#include "tools/setup/records.h"

namespace host {

namespace {

using API = QorvelMotionProcessorAPI;

} // namespace

STBAssignmentRow makeAssignment(const Config::Assignment& assignment, std::stringstream& errors) {
    STBAssignmentRow row;
    API::createSTBAssignmentRow(assignment.primaryKey, assignment.secondaryKey,
                                assignment.maxSpaceTolerance, assignment.maxTimeTolerance,
                                assignment.master, assignment.geohashes, assignment.latitude,
                                assignment.longitude, assignment.radius, assignment.spaceFactor,
                                assignment.timeFactor, row, errors);
    return row;
}

STBMasterRow makeMaster(const Config::Master& master, std::stringstream& errors) {
    STBMasterRow row;
    API::createSTBMasterRow(master.name, master.cellLength, master.box.count, master.box.unit, row,
                            errors);
    return row;
}

STBCompressionSpec makeSpec(const Config::Spec& spec, Use use, std::stringstream& errors) {
    STBCompressionSpec record;
    const auto create =
        use == Use::hangouts ? API::createHangoutSpec : API::createSTBCompressionSpec;
    create(spec.primaryKey, spec.secondaryKey, spec.master, spec.window.count, spec.window.unit,
           spec.minCount, spec.ratio, record, errors);
    return record;
}

MotionProcessor makeProcessor(Use use, const std::list<STBMasterRow>& masters,
                              const std::list<STBAssignmentRow>& assignments,
                              const std::list<STBCompressionSpec>& specs,
                              std::stringstream& errors) {
    MotionProcessor processor;
    switch (use) {
    case Use::presence:
        API::createMotionProcessorForPresenceCompression(masters, assignments, specs, processor,
                                                         errors);
        break;
    case Use::hangouts:
        API::createMotionProcessorForHangouts(masters, assignments, specs, processor, errors);
        break;
    case Use::boxes:
        API::createMotionProcessorForSTBs(masters, assignments, processor, errors);
    }
    return processor;
}

} // namespace host
