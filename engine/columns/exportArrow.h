#ifndef QORVEL_ENGINE_COLUMNS_EXPORTARROW_H
#define QORVEL_ENGINE_COLUMNS_EXPORTARROW_H

#include "engine/columns/ResultTable.h"
#include "engine/columns/arrow_c_data.h"
#include "engine/export.h"

namespace qorvel_engine {

/// Hands a table on as a struct with a child for each column: entities by name, as utf8, int64 or
/// uint64; texts as utf8, or as large utf8 from 2 GiB on; whole numbers as int64; real ones as
/// float64; times as timestamps in ms of UTC. A time box that lasts for ever has no end: null. The
/// schema's metadata are "name" and "description" of the results, those of a column its "unit" and
/// "description".
///
/// Buffers are moved, not copied; names of entities that are texts have to be. Both structures are
/// overwritten and then the caller's to release, in any order; children may be moved out before.
/// Each may outlive the session.
///
/// `schema` may be null, for the caller who has it from exportArrowSchema; then a column of 2 GiB
/// of text has no place (Fault `tooLarge`). Throws std::bad_alloc too. In either case nothing is
/// written. The table is empty afterwards, or where this failed may be.
QORVEL_ENGINE_EXPORT void exportArrow(ResultTable&& table, ArrowArray* array, ArrowSchema* schema);

/// The schema that exportArrow gives for tables with less than 2 GiB of text in a column.
QORVEL_ENGINE_EXPORT void exportArrowSchema(const ResultSchema& results, EntityKind entityKind,
                                            ArrowSchema* schema);

} // namespace qorvel_engine

#endif
