#include "engine/setup/records.h"

#include "qorvel/facade/QorvelMotionProcessorAPI.h"

namespace qorvel_engine {

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

STBCompressionSpec makeSpec(const Config::Spec& spec, ProcessorKind kind,
                            std::stringstream& errors) {
    STBCompressionSpec record;
    const auto create =
        kind == ProcessorKind::hangouts ? API::createHangoutSpec : API::createSTBCompressionSpec;
    create(spec.primaryKey, spec.secondaryKey, spec.master, spec.window.count, spec.window.unit,
           spec.minCount, spec.ratio, record, errors);
    return record;
}

MotionProcessor makeProcessor(ProcessorKind kind, const std::list<STBMasterRow>& masters,
                              const std::list<STBAssignmentRow>& assignments,
                              const std::list<STBCompressionSpec>& specs,
                              std::stringstream& errors) {
    MotionProcessor processor;
    switch (kind) {
    case ProcessorKind::presence:
        API::createMotionProcessorForPresenceCompression(masters, assignments, specs, processor,
                                                         errors);
        break;
    case ProcessorKind::hangouts:
        API::createMotionProcessorForHangouts(masters, assignments, specs, processor, errors);
        break;
    case ProcessorKind::boxes:
        API::createMotionProcessorForSTBs(masters, assignments, processor, errors);
    }
    return processor;
}

} // namespace qorvel_engine
