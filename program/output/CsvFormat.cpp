#include "program/output/CsvFormat.h"

#include "program/csvText.h"
#include "program/output/valueText.h"

namespace program {

std::string CsvFormat::head() const {
    std::string text;
    for (const ResultColumn& column : schema_.columns) {
        if (!text.empty()) {
            text += ',';
        }
        csv::appendField(text, column.name);
    }
    return text + '\n';
}

void CsvFormat::append(std::string& out, const ResultTable& table, std::size_t row) const {
    const auto appendText = isSafe_ ? csv::appendSafeField : csv::appendField;
    for (std::size_t i = 0; i < schema_.columns.size(); ++i) {
        if (i > 0) {
            out += ',';
        }
        if (isMissing(table, row, i)) {
            continue;
        }
        if (isText(schema_.columns[i].kind)) {
            appendText(out, textOf(table, row, i));
        } else {
            appendValue(out, table, row, i, zone_);
        }
    }
    out += '\n';
}

} // namespace program
