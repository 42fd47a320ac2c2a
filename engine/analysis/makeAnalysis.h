#ifndef QORVEL_ENGINE_ANALYSIS_MAKEANALYSIS_H
#define QORVEL_ENGINE_ANALYSIS_MAKEANALYSIS_H

#include "engine/analysis/Analysis.h"
#include "engine/analysis/EncounterOptions.h"
#include "engine/analysis/PlaceOptions.h"
#include "engine/analysis/StayOptions.h"
#include "engine/export.h"
#include "engine/setup/Tables.h"

#include <cstdint>
#include <memory>
#include <string_view>

namespace qorvel_engine {

/// What is asked.
enum class Question : std::uint8_t {
    boxes,      ///< the cells and time boxes of every fix
    presence,   ///< who was seen often enough in which cell and time box
    hangouts,   ///< who stayed without a break in which cell and time box
    stays,      ///< who stayed where, from when to when
    encounters, ///< who was with whom, from when to when
    places      ///< where who stayed again and again, and how long
};

struct AnalysisOptions {
    Question question = Question::boxes;
    bool lastFigures = false;      ///< presence and hangouts: the last figures of each record
    StayOptions stays{};           ///< stays and places: what a stay is
    EncounterOptions encounters{}; ///< encounters: what one is
    PlaceOptions places{};         ///< places: how they are told of
};

/// The question of that name: "boxes", "presence", "hangouts", "stays", "encounters" or "places".
/// Throws the Fault `badConfiguration`, which names them all, for another.
QORVEL_ENGINE_EXPORT Question questionOf(std::string_view name);

/// Does a question need a configuration? All but stays, encounters and places, which are free of
/// cells and keys.
QORVEL_ENGINE_EXPORT bool needsConfiguration(Question question);

/// The kind of specs that a question needs of its configuration, if it needs one.
QORVEL_ENGINE_EXPORT ProcessorKind processorKindOf(Question question);

/// What the columns of the results are.
QORVEL_ENGINE_EXPORT const ResultSchema& schemaOf(const AnalysisOptions& options);

/// The tables are for that kind, and outlive the analysis; null where the question needs none.
/// Throws the Fault `misuse` for tables of another kind or none; `badConfiguration` for options of
/// stays, encounters and places that cannot be.
QORVEL_ENGINE_EXPORT std::unique_ptr<Analysis> makeAnalysis(const AnalysisOptions& options,
                                                            const Tables* tables);

} // namespace qorvel_engine

#endif
