#ifndef QORVEL_TOOLS_SETUP_RECORDS_H
#define QORVEL_TOOLS_SETUP_RECORDS_H

#include "tools/setup/Config.h"

#include "qorvel/qorvel.h"

#include <list>
#include <sstream>

namespace host {

// The library's records, and a processor of them. What the library objects to is appended to
// `errors` as its tags.
//
// Assignments or specs come first of all, before any event: they register "ANY" as primary key
// number 0, the one that matches every event.

STBAssignmentRow makeAssignment(const Config::Assignment& assignment, std::stringstream& errors);
STBMasterRow makeMaster(const Config::Master& master, std::stringstream& errors);
STBCompressionSpec makeSpec(const Config::Spec& spec, Use use, std::stringstream& errors);

MotionProcessor makeProcessor(Use use, const std::list<STBMasterRow>& masters,
                              const std::list<STBAssignmentRow>& assignments,
                              const std::list<STBCompressionSpec>& specs,
                              std::stringstream& errors);

} // namespace host

#endif
