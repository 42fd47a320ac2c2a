#ifndef QORVEL_TOOLS_COMMANDS_CELLVALUES_H
#define QORVEL_TOOLS_COMMANDS_CELLVALUES_H

#include "tools/output/ResultRow.h"

#include "qorvel/qorvel.h"

#include <cstddef>
#include <sstream>
#include <vector>

namespace host {

/// The columns that tell a cell, wherever a result has one: its text, its bits (the text alone does
/// not tell the cell: of an odd number of bits, neighbours have one less) and its centre.
class CellValues {
public:
    static constexpr std::size_t kCount = 4;

    static void addColumns(std::vector<Column>& columns) {
        columns.insert(columns.end(), {{"geohash", ColumnKind::text},
                                       {"bits", ColumnKind::whole},
                                       {"lat", ColumnKind::degrees},
                                       {"lon", ColumnKind::degrees}});
    }

    /// Sets the values from `at` on.
    void set(std::vector<Value>& values, std::size_t at, const SpaceBox& cell) {
        QorvelMotionProcessorAPI::toString(cell, values[at].text, errors_);
        values[at + 1].whole = cell.getGeoHashBitDepth();
        QorvelMotionProcessorAPI::getCentroid(cell, values[at + 2].real, values[at + 3].real,
                                              errors_);
    }

private:
    std::stringstream errors_; ///< asked for by the library, never written
};

} // namespace host

#endif
