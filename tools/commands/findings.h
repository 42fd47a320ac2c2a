#ifndef QORVEL_TOOLS_COMMANDS_FINDINGS_H
#define QORVEL_TOOLS_COMMANDS_FINDINGS_H

#include "tools/run/Analysis.h"
#include "tools/setup/Library.h"

#include <memory>

namespace host {

/// Every box of every event. The library must outlive the analysis, here and below.
std::unique_ptr<Analysis> makeBoxesAnalysis(const Library& library);

/// What the processor reports, when it reports it: each entity, cell and time box once, with the
/// figures of that moment.
std::unique_ptr<Analysis> makeFirstFindings(const Library& library);

/// The last figures of each entity, cell and time box, in the order of their first reports.
std::unique_ptr<Analysis> makeLastFindings(const Library& library);

} // namespace host

#endif
