#ifndef QORVEL_ENGINE_RUN_REJECT_H
#define QORVEL_ENGINE_RUN_REJECT_H

#include "engine/columns/ResultTable.h"
#include "engine/columns/RowReason.h"
#include "engine/export.h"

#include <cstdint>
#include <vector>

namespace qorvel_engine {

/// A row that cannot be used.
struct Reject {
    std::uint64_t row; ///< its number in the session, from 0, bad rows included
    RowReason reason;  ///< never `none`
};

/// The same as a table with the columns "row", "code" (the number of the reason) and "reason" (the
/// sentence).
QORVEL_ENGINE_EXPORT ResultTable makeRejectTable(const std::vector<Reject>& rejects);

/// What its columns are.
QORVEL_ENGINE_EXPORT const ResultSchema& rejectSchema();

} // namespace qorvel_engine

#endif
