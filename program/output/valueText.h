#ifndef QORVEL_PROGRAM_OUTPUT_VALUETEXT_H
#define QORVEL_PROGRAM_OUTPUT_VALUETEXT_H

#include "engine/columns/ResultTable.h"
#include "program/csvText.h"
#include "program/engineNames.h"
#include "program/isoTime.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace program {

/// Is there no such value? Most columns have one in every row, and need not be asked.
inline bool isMissing(const ResultTable& table, std::size_t row, std::size_t column) {
    return table.schema().columns[column].isNullable && table.isNull(row, column);
}

/// The text in a column of texts or entities, whom the program knows by names.
inline std::string_view textOf(const ResultTable& table, std::size_t row, std::size_t column) {
    return table.schema().columns[column].kind == ResultKind::entity
               ? table.names().text(table.entity(row, column))
               : table.text(row, column);
}

/// Is the value one that textOf gives?
constexpr bool isText(ResultKind kind) {
    return kind == ResultKind::entity || kind == ResultKind::text;
}

/// Is it a point in time, or the end of a time box, which may have none?
constexpr bool isTime(ResultKind kind) {
    return kind == ResultKind::time || kind == ResultKind::boxEnd;
}

/// Room for a value as text.
inline constexpr std::size_t kMostValue = std::max(kMostTime, csv::kMostNumber);

/// Puts degrees with seven decimals, which is a centimetre; see csv::putDecimal.
inline char* putDegrees(char* at, double degrees) {
    return csv::putDecimal(at, std::llround(degrees * 1e7), 7);
}

/// Puts a value that is none of textOf: whole numbers as such, degrees with seven decimals, which
/// is a centimetre, as are two decimals of a metre, and two of an hour; times as ISO 8601, in any
/// text format, as the clocks of the zone show them (none: UTC). Returns where it ends; all the
/// room may have been written to.
inline char* putValue(char* at, const ResultTable& table, std::size_t row, std::size_t column,
                      const std::optional<TimeZone>& zone = std::nullopt) {
    switch (table.schema().columns[column].kind) {
    case ResultKind::degrees:
        return putDegrees(at, table.real(row, column));
    case ResultKind::metres:
    case ResultKind::hours:
        return csv::putDecimal(at, std::llround(table.real(row, column) * 1e2), 2);
    case ResultKind::time:
        return putTime(at, table.whole(row, column), zone);
    case ResultKind::boxEnd:
        return putBoxEnd(at, table.whole(row, column), zone);
    default:
        return csv::putInteger(at, table.whole(row, column));
    }
}

inline void appendValue(std::string& text, const ResultTable& table, std::size_t row,
                        std::size_t column, const std::optional<TimeZone>& zone = std::nullopt) {
    char value[kMostValue];
    text.append(value, putValue(value, table, row, column, zone));
}

} // namespace program

#endif
