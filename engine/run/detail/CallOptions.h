#ifndef QORVEL_ENGINE_RUN_DETAIL_CALLOPTIONS_H
#define QORVEL_ENGINE_RUN_DETAIL_CALLOPTIONS_H

#include "engine/analysis/makeAnalysis.h"
#include "engine/columns/ObservationSchema.h"
#include "engine/run/SessionOptions.h"

#include <string_view>

namespace qorvel_engine::detail {

/// What qorvel_engine_open is told in texts.
struct CallOptions {
    AnalysisOptions analysis;
    SessionOptions session;
    ColumnNames columns;
};

/// Throws the Fault `badConfiguration` for what it does not know, with the line of the options.
CallOptions readCallOptions(std::string_view question, std::string_view options);

} // namespace qorvel_engine::detail

#endif
