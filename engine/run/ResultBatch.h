#ifndef QORVEL_ENGINE_RUN_RESULTBATCH_H
#define QORVEL_ENGINE_RUN_RESULTBATCH_H

#include "engine/columns/ResultTable.h"

#include <cstdint>
#include <string>

namespace qorvel_engine {

/// Some results, in the order of the input.
struct ResultBatch {
    ResultTable table;      ///< empty where a renderer has made texts of them
    std::string text;       ///< these texts, one after the other
    std::uint64_t size = 0; ///< how many results
};

} // namespace qorvel_engine

#endif
