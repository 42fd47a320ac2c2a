#ifndef QORVEL_PROGRAM_OUTPUT_VALUETEXT_H
#define QORVEL_PROGRAM_OUTPUT_VALUETEXT_H

#include "engine/columns/ResultTable.h"
#include "program/csvText.h"
#include "program/engineNames.h"
#include "program/isoTime.h"

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

/// Appends degrees with seven decimals, which is a centimetre.
inline void appendDegrees(std::string& text, double degrees) {
    csv::appendDecimal(text, std::llround(degrees * 1e7), 7);
}

/// Appends a value that is none of textOf: whole numbers as such, degrees with seven decimals,
/// which is a centimetre, as are two decimals of a metre, and two of an hour; times as ISO 8601, in
/// any text format, as the clocks of the zone show them (none: UTC).
inline void appendValue(std::string& text, const ResultTable& table, std::size_t row,
                        std::size_t column, const std::optional<TimeZone>& zone = std::nullopt) {
    switch (table.schema().columns[column].kind) {
    case ResultKind::degrees:
        return appendDegrees(text, table.real(row, column));
    case ResultKind::metres:
    case ResultKind::hours:
        return csv::appendDecimal(text, std::llround(table.real(row, column) * 1e2), 2);
    case ResultKind::time:
        return appendTime(text, table.whole(row, column), zone);
    case ResultKind::boxEnd:
        return appendBoxEnd(text, table.whole(row, column), zone);
    default:
        return csv::appendInteger(text, table.whole(row, column));
    }
}

} // namespace program

#endif
