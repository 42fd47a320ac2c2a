#ifndef QORVEL_ENGINE_RUN_DETAIL_APPENDROWS_H
#define QORVEL_ENGINE_RUN_DETAIL_APPENDROWS_H

#include "engine/columns/ResultTable.h"

#include <cstddef>

namespace qorvel_engine::detail {

/// Appends the rows of one table from `begin` to before `end` to another of the same schema and
/// names. If that fails, rows before the one that failed have been appended.
void appendRows(const ResultTable& from, std::size_t begin, std::size_t end, ResultTable& to);

} // namespace qorvel_engine::detail

#endif
