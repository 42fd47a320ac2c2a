#ifndef QORVEL_TOOLS_COMMANDS_FINDINGS_H
#define QORVEL_TOOLS_COMMANDS_FINDINGS_H

#include "engine/setup/Tables.h"
#include "tools/run/Analysis.h"
#include "tools/setup/engineNames.h"

#include <memory>

namespace host {

/// Every box of every event. The library must outlive the analysis, here and below.
std::unique_ptr<Analysis> makeBoxesAnalysis(const Tables& library);

/// What the processor reports, when it reports it: each entity, cell and time box once, with the
/// figures of that moment.
std::unique_ptr<Analysis> makeFirstFindings(const Tables& library);

/// The last figures of each entity, cell and time box, in the order of their first reports.
std::unique_ptr<Analysis> makeLastFindings(const Tables& library);

} // namespace host

#endif
