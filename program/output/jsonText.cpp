#include "program/output/jsonText.h"

#include "program/output/valueText.h"

#include <utility>

namespace program {

namespace {

void appendJsonValue(std::string& out, ResultKind kind, const ResultTable& table, std::size_t row,
                     std::size_t column, const std::optional<TimeZone>& zone) {
    if (isMissing(table, row, column)) {
        out += "null";
    } else if (isText(kind)) {
        appendJsonString(out, textOf(table, row, column));
    } else if (isTime(kind)) {
        out += '"';
        appendValue(out, table, row, column, zone);
        out += '"';
    } else {
        appendValue(out, table, row, column, zone);
    }
}

} // namespace

JsonObject::JsonObject(const std::vector<ResultColumn>& columns, std::optional<TimeZone> zone)
    : zone_(std::move(zone)) {
    for (const ResultColumn& column : columns) {
        std::string key = members_.empty() ? "{" : ",";
        appendJsonString(key, column.name);
        members_.push_back({key + ':', column.kind});
    }
}

void JsonObject::append(std::string& out, const ResultTable& table, std::size_t row) const {
    for (std::size_t i = 0; i < members_.size(); ++i) {
        out += members_[i].key;
        appendJsonValue(out, members_[i].kind, table, row, i, zone_);
    }
    out += '}';
}

} // namespace program
