#include "tools/output/CsvWriter.h"

#include "tools/csvText.h"
#include "tools/isoTime.h"
#include "tools/output/degreesText.h"

namespace host {

namespace {

std::string head(const Schema& schema) {
    std::string text;
    for (const Column& column : schema.columns) {
        if (!text.empty()) {
            text += ',';
        }
        csv::appendField(text, column.name);
    }
    return text + '\n';
}

} // namespace

CsvWriter::CsvWriter(const std::string& file, const std::string& extension, const Schema& schema,
                     bool isSafe)
    : TextWriter(file, extension, head(schema), {}), schema_(schema), isSafe_(isSafe) {}

void CsvWriter::append(std::string& text, const ResultRow& row) const {
    for (std::size_t i = 0; i < schema_.columns.size(); ++i) {
        if (i > 0) {
            text += ',';
        }
        appendValue(text, schema_.columns[i].kind, row.values[i]);
    }
    text += '\n';
}

void CsvWriter::appendValue(std::string& text, ColumnKind kind, const Value& value) const {
    switch (kind) {
    case ColumnKind::text:
        return (isSafe_ ? csv::appendSafeField : csv::appendField)(text, value.text);
    case ColumnKind::whole:
        return csv::appendInteger(text, value.whole);
    case ColumnKind::degrees:
        return appendDegrees(text, value.real);
    case ColumnKind::time:
        return appendTime(text, value.whole);
    case ColumnKind::boxEnd:
        return appendBoxEnd(text, value.whole);
    }
}

} // namespace host
