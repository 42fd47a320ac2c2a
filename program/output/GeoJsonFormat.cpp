#include "program/output/GeoJsonFormat.h"

#include "program/output/CellBounds.h"

#include <charconv>
#include <optional>

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

/// A closed ring, counter-clockwise.
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

void appendGeometry(std::string& text, const std::optional<SpaceBox>& cell) {
    if (!cell) {
        text += "null";
        return;
    }
    text += R"({"type":"Polygon","coordinates":)";
    appendCell(text, *cell);
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
    appendGeometry(out, table.cell(row));
    out += '}';
}

} // namespace program
