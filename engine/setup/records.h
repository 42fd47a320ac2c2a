#ifndef QORVEL_ENGINE_SETUP_RECORDS_H
#define QORVEL_ENGINE_SETUP_RECORDS_H

#include "engine/export.h"
#include "engine/setup/Config.h"

#include "qorvel/model/STBAssignmentRow.h"
#include "qorvel/model/STBCompressionSpec.h"
#include "qorvel/model/STBMasterRow.h"
#include "qorvel/processor/MotionProcessor.h"

#include <list>
#include <sstream>

namespace qorvel_engine {

// The library's records, and a processor of them. What the library objects to is appended to
// `errors` as its tags.
//
// Assignments or specs come first of all, before any event: they register "ANY" as primary key
// number 0, the one that matches every event.

QORVEL_ENGINE_EXPORT qorvel::STBAssignmentRow makeAssignment(const Config::Assignment& assignment,
                                                             std::stringstream& errors);
QORVEL_ENGINE_EXPORT qorvel::STBMasterRow makeMaster(const Config::Master& master,
                                                     std::stringstream& errors);
QORVEL_ENGINE_EXPORT qorvel::STBCompressionSpec
makeSpec(const Config::Spec& spec, ProcessorKind kind, std::stringstream& errors);

QORVEL_ENGINE_EXPORT qorvel::MotionProcessor
makeProcessor(ProcessorKind kind, const std::list<qorvel::STBMasterRow>& masters,
              const std::list<qorvel::STBAssignmentRow>& assignments,
              const std::list<qorvel::STBCompressionSpec>& specs, std::stringstream& errors);

} // namespace qorvel_engine

#endif
