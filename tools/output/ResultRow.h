#ifndef QORVEL_TOOLS_OUTPUT_RESULTROW_H
#define QORVEL_TOOLS_OUTPUT_RESULTROW_H

#include "qorvel/geohash/SpaceBox.h"

#include <cstdint>
#include <string>
#include <vector>

namespace host {

/// How the values of a column are printed, and what they become in a GIS.
enum class ColumnKind {
    text,    ///< in Value::text
    whole,   ///< in Value::whole
    degrees, ///< in Value::real, printed with seven decimals, a centimetre
    time,    ///< in Value::whole, ms since 1970 UTC; printed as ISO 8601
    boxEnd   ///< the same, but the far future is printed as "ever"
};

struct Column {
    const char* name;
    ColumnKind kind;
};

/// One of the three is used, as the column's kind has it.
struct Value {
    std::string text;
    std::int64_t whole = 0;
    double real = 0.0;
};

/// What a command writes: the columns, and whether a row's shape may have several cells.
struct Schema {
    const char* layer; ///< the name of the table in a GIS, such as "hangouts"
    std::vector<Column> columns;
    bool hasSeveralCells = false;
};

/// One result: a value for each column, and the cells, at least one, that are its shape on a map.
struct ResultRow {
    std::vector<Value> values;
    std::vector<SpaceBox> cells;
};

} // namespace host

#endif
