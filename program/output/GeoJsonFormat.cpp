#include "program/output/GeoJsonFormat.h"

#include "program/output/cellShape.h"

#include <charconv>
#include <ogr_geometry.h>

namespace program {

namespace {

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

void appendCells(std::string& text, const SpaceBox* cells, std::size_t count) {
    if (count == 1) {
        text += '[';
        appendCell(text, *cells);
        text += ']';
    } else {
        appendList(text, *cellUnion({cells, cells + count}), appendPolygon);
    }
}

void appendGeometry(std::string& text, const SpaceBox* cells, std::size_t count,
                    bool hasSeveralCells) {
    if (count == 0) {
        text += "null";
        return;
    }
    if (hasSeveralCells) {
        text += R"({"type":"MultiPolygon","coordinates":)";
        appendCells(text, cells, count);
    } else {
        text += R"({"type":"Polygon","coordinates":)";
        appendCell(text, *cells);
    }
    text += '}';
}

} // namespace

std::string GeoJsonFormat::head() const {
    std::string text = R"({"type":"FeatureCollection","name":)";
    appendJsonString(text, schema_.name);
    return text + R"(,"features":[)";
}

void GeoJsonFormat::append(std::string& out, const ResultTable& table, std::size_t row) const {
    out += separator();
    out += "\n"
           R"({"type":"Feature","properties":)";
    properties_.append(out, table, row);
    out += R"(,"geometry":)";
    appendGeometry(out, table.cells(row), table.cellCount(row), schema_.hasSeveralCells);
    out += '}';
}

} // namespace program
