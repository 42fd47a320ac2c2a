#include "program/output/CsvFormat.h"

#include "program/csvText.h"
#include "program/output/valueText.h"

#include <cstddef>
#include <string_view>

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

/// Fields are put where there is room for all of a row, so that none has to ask for it.
void CsvFormat::append(std::string& out, const ResultTable& table, std::size_t row) const {
    constexpr std::size_t kMostPlain = kMostValue; // longer texts take their own way
    const std::size_t room = schema_.columns.size() * (kMostValue + 1) + 1;
    char* at = nullptr;
    const auto makeRoom = [&] {
        const std::size_t size = out.size();
        out.resize(size + room);
        at = out.data() + size;
    };
    const auto endHere = [&] { out.resize(static_cast<std::size_t>(at - out.data())); };
    makeRoom();
    for (std::size_t i = 0; i < schema_.columns.size(); ++i) {
        if (i > 0) {
            *at++ = ',';
        }
        if (isMissing(table, row, i)) {
            continue;
        }
        if (!isText(schema_.columns[i].kind)) {
            at = putValue(at, table, row, i, zone_);
            continue;
        }
        const std::string_view field = textOf(table, row, i);
        char* const end =
            isSafe_ || field.size() > kMostPlain ? nullptr : csv::putPlainField(at, field);
        if (end != nullptr) {
            at = end;
        } else {
            endHere();
            isSafe_ ? csv::appendSafeField(out, field) : csv::appendField(out, field);
            makeRoom();
        }
    }
    *at++ = '\n';
    endHere();
}

} // namespace program
