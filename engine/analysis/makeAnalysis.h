#ifndef QORVEL_ENGINE_ANALYSIS_MAKEANALYSIS_H
#define QORVEL_ENGINE_ANALYSIS_MAKEANALYSIS_H

#include "engine/analysis/Analysis.h"
#include "engine/export.h"
#include "engine/setup/Tables.h"

#include <cstdint>
#include <memory>

namespace qorvel_engine {

/// What is asked.
enum class Question : std::uint8_t {
    boxes,    ///< the cells and time boxes of every fix
    presence, ///< who was seen often enough in which cell and time box
    hangouts, ///< who stayed without a break in which cell and time box
    stays,    ///< who stayed where, from when to when
    meetings  ///< who was with whom
};

struct AnalysisOptions {
    Question question = Question::boxes;
    bool lastFigures = false; ///< presence and hangouts: the last figures of each record
    std::uint32_t maxEntitiesPerBox = 1000; ///< meetings: at least 2; more make no pairs
};

/// The kind of specs that a question needs of its configuration.
QORVEL_ENGINE_EXPORT ProcessorKind processorKindOf(Question question);

/// What the columns of its results are.
QORVEL_ENGINE_EXPORT const ResultSchema& schemaOf(Question question);

/// The tables are for that kind, and outlive the analysis. Throws the Fault `misuse` for tables of
/// another kind, and for fewer than two entities in a box.
QORVEL_ENGINE_EXPORT std::unique_ptr<Analysis> makeAnalysis(const AnalysisOptions& options,
                                                            const Tables& tables);

} // namespace qorvel_engine

#endif
