#include "program/input/pointText.h"

#include "program/input/number.h"

#include <simdjson.h>

namespace program {

namespace {

constexpr char kNoPoint[] = "is no point in WKT or GeoJSON";

std::string_view trimmedFront(std::string_view text) {
    return text.substr(std::min(text.find_first_not_of(" \t"), text.size()));
}

/// Takes a word from the front, whatever the case of its letters.
bool takeWord(std::string_view& text, std::string_view word) {
    text = trimmedFront(text);
    for (std::size_t i = 0; i < word.size(); ++i) {
        const char c = i < text.size() ? text[i] : '\0';
        if ((c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c) != word[i]) {
            return false;
        }
    }
    text.remove_prefix(word.size());
    return true;
}

bool takeNumber(std::string_view& text, double& value) {
    text = trimmedFront(text);
    const std::string_view number = text.substr(0, text.find_first_of(" \t)"));
    const bool isThere = readNumber(withoutSign(number), value);
    text.remove_prefix(isThere ? number.size() : 0);
    return isThere;
}

const char* readWkt(std::string_view text, double& longitude, double& latitude) {
    if (takeWord(text, "SRID=") && !takeWord(text, "4326;")) {
        return "is in another coordinate system than WGS 84 (SRID 4326)";
    }
    if (!takeWord(text, "POINT")) {
        return kNoPoint;
    }
    takeWord(text, "Z");
    takeWord(text, "M");
    double x = 0.0;
    double y = 0.0;
    double ignored = 0.0;
    if (!takeWord(text, "(") || !takeNumber(text, x) || !takeNumber(text, y)) {
        return kNoPoint;
    }
    for (int i = 0; i < 2 && takeNumber(text, ignored); ++i) {
    }
    if (!takeWord(text, ")") || !trimmedFront(text).empty()) {
        return kNoPoint;
    }
    longitude = x;
    latitude = y;
    return nullptr;
}

const char* readGeoJson(std::string_view text, double& longitude, double& latitude) {
    thread_local simdjson::dom::parser parser;
    simdjson::dom::element geometry;
    std::string_view type;
    simdjson::dom::array coordinates;
    double x = 0.0;
    double y = 0.0;
    const bool isPoint = parser.parse(text.data(), text.size()).get(geometry) == 0 &&
                         geometry["type"].get(type) == 0 && type == "Point" &&
                         geometry["coordinates"].get(coordinates) == 0 &&
                         coordinates.at(0).get(x) == 0 && coordinates.at(1).get(y) == 0;
    if (!isPoint) {
        return kNoPoint;
    }
    longitude = x;
    latitude = y;
    return nullptr;
}

} // namespace

const char* readPoint(std::string_view text, double& longitude, double& latitude) {
    return trimmedFront(text).starts_with('{') ? readGeoJson(text, longitude, latitude)
                                               : readWkt(text, longitude, latitude);
}

} // namespace program
