#include "engine/run/detail/appendRows.h"

#include <optional>

namespace qorvel_engine::detail {

namespace {

void appendValue(const ResultTable& from, std::size_t row, std::size_t column, RowAppender& to) {
    switch (from.schema().columns[column].kind) {
    case ResultKind::entity:
        to.whole(static_cast<std::int64_t>(from.entity(row, column)));
        break;
    case ResultKind::text:
        to.text(from.text(row, column));
        break;
    case ResultKind::degrees:
    case ResultKind::metres:
    case ResultKind::hours:
        to.real(from.real(row, column));
        break;
    case ResultKind::whole:
    case ResultKind::time:
    case ResultKind::boxEnd:
        to.whole(from.whole(row, column));
    }
}

} // namespace

void appendRows(const ResultTable& from, std::size_t begin, std::size_t end, ResultTable& to) {
    const ResultSchema& schema = from.schema();
    for (std::size_t row = begin; row < end; ++row) {
        RowAppender appender(to, schema);
        for (std::size_t column = 0; column < schema.columns.size(); ++column) {
            if (schema.columns[column].isNullable) {
                appender.isPresent(!from.isNull(row, column));
            }
            appendValue(from, row, column, appender);
        }
        if (const std::optional<qorvel::SpaceBox> cell = from.cell(row)) {
            appender.shape(*cell);
        }
        appender.finish();
    }
}

} // namespace qorvel_engine::detail
