#include "engine/analysis/detail/processors.h"

namespace qorvel_engine::detail {

using qorvel_port::FigureProcessor;

FigureProcessor makeProcessor(const Tables& tables, FigureProcessor::Wanted wanted) {
    const auto kind = tables.kind() == ProcessorKind::hangouts ? FigureProcessor::Kind::hangouts
                                                               : FigureProcessor::Kind::presence;
    return FigureProcessor(kind, wanted, tables.masters(), tables.assignments(), tables.specs());
}

FigureProcessor makeBoxProcessor(const Tables& tables) {
    return FigureProcessor(FigureProcessor::Kind::presence, FigureProcessor::Wanted::first,
                           tables.masters(), tables.assignments(), {});
}

} // namespace qorvel_engine::detail
