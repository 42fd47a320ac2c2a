#ifndef QORVEL_ENGINE_RUN_ADVICE_H
#define QORVEL_ENGINE_RUN_ADVICE_H

#include "engine/analysis/makeAnalysis.h"
#include "engine/export.h"
#include "engine/run/InputFigures.h"
#include "engine/run/RunFigures.h"
#include "engine/setup/Config.h"

#include <string>
#include <string_view>

namespace qorvel_engine {

/// How a caller's users name what advice is about.
struct AdviceWords {
    std::string (*option)(std::string_view name); ///< of "max_bridge": "--max-bridge", say
    std::string_view entityColumn;                ///< that says which column tells entities
    std::string_view explain;                     ///< that says what a row lacks
    std::string_view check;                       ///< that judges a configuration
};

/// Why an answer is empty, or leaves much out, and which option would change it: a sentence without
/// a full stop; empty where there is no reason for any. After the last row of a session with these
/// options and figures.
QORVEL_ENGINE_EXPORT std::string adviceOn(const AnalysisOptions& options, const Config& config,
                                          const RunFigures& run, const InputFigures& input,
                                          const AdviceWords& words);

} // namespace qorvel_engine

#endif
