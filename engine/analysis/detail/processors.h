#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_PROCESSORS_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_PROCESSORS_H

#include "engine/setup/Tables.h"

#include "qorvel/processor/detail/FigureProcessor.h"

namespace qorvel_engine::detail {

/// A processor of these tables, which shares nothing with others.
qorvel_port::FigureProcessor makeProcessor(const Tables& tables,
                                           qorvel_port::FigureProcessor::Wanted wanted);

/// One that tells in which boxes events lie.
qorvel_port::FigureProcessor makeBoxProcessor(const Tables& tables);

} // namespace qorvel_engine::detail

#endif
