#include "tools/output/GeoJsonWriter.h"

#include "tools/output/cellShape.h"

#include <charconv>
#include <ogr_geometry.h>

namespace host {

namespace {

std::string head(const Schema& schema) {
    std::string text = R"({"type":"FeatureCollection","name":)";
    appendJsonString(text, schema.layer);
    return text + R"(,"features":[)";
}

/// The shortest text that is read as the same double: common corners stay common.
void appendCoordinate(std::string& text, double degrees) {
    char digits[32];
    const auto result = std::to_chars(digits, digits + sizeof digits, degrees);
    text.append(digits, result.ptr);
}

void appendPosition(std::string& text, double longitude, double latitude) {
    text += '[';
    appendCoordinate(text, longitude);
    text += ',';
    appendCoordinate(text, latitude);
    text += ']';
}

/// Puts `appendItem` of each item between brackets.
template <typename Items, typename AppendItem>
void appendList(std::string& text, const Items& items, AppendItem appendItem) {
    char separator = '[';
    for (const auto& item : items) {
        text += separator;
        appendItem(text, item);
        separator = ',';
    }
    text += ']';
}

void appendRing(std::string& text, const OGRLinearRing* ring) {
    appendList(text, *ring, [](std::string& out, const OGRPoint& point) {
        appendPosition(out, point.getX(), point.getY());
    });
}

void appendPolygon(std::string& text, const OGRPolygon* polygon) {
    appendList(text, *polygon, appendRing);
}

/// What cellPolygon gives, without making one: as a rule, results have one cell.
void appendCell(std::string& text, const SpaceBox& cell) {
    const CellBounds bounds = cellBounds(cell);
    text += '[';
    text += '[';
    const std::size_t begin = text.size();
    appendPosition(text, bounds.west, bounds.south);
    const std::size_t length = text.size() - begin;
    text += ',';
    appendPosition(text, bounds.east, bounds.south);
    text += ',';
    appendPosition(text, bounds.east, bounds.north);
    text += ',';
    appendPosition(text, bounds.west, bounds.north);
    text += ',';
    text.append(text, begin, length);
    text += "]]";
}

void appendCells(std::string& text, const std::vector<SpaceBox>& cells) {
    if (cells.size() == 1) {
        appendList(text, cells, appendCell);
    } else {
        appendList(text, *cellUnion(cells), appendPolygon);
    }
}

void appendGeometry(std::string& text, const std::vector<SpaceBox>& cells, bool hasSeveralCells) {
    if (cells.empty()) {
        text += "null";
        return;
    }
    if (hasSeveralCells) {
        text += R"({"type":"MultiPolygon","coordinates":)";
        appendCells(text, cells);
    } else {
        text += R"({"type":"Polygon","coordinates":)";
        appendCell(text, cells.front());
    }
    text += '}';
}

} // namespace

GeoJsonWriter::GeoJsonWriter(const std::string& file, const std::string& extension,
                             const Schema& schema)
    : TextWriter(file, extension, head(schema), "\n]}\n"), properties_(schema.columns),
      hasSeveralCells_(schema.hasSeveralCells) {}

/// With a comma in front of every feature: which is the first is known only when it is written.
void GeoJsonWriter::append(std::string& text, const ResultRow& row) const {
    text += ",\n";
    text += R"({"type":"Feature","properties":)";
    properties_.append(text, row);
    text += R"(,"geometry":)";
    appendGeometry(text, row.cells, hasSeveralCells_);
    text += '}';
}

void GeoJsonWriter::writeText(std::string_view rows) {
    if (isEmpty_ && !rows.empty()) {
        rows.remove_prefix(1);
        isEmpty_ = false;
    }
    TextWriter::writeText(rows);
}

} // namespace host
