#include "program/gdal/ogrText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cpl_conv.h>
#include <cpl_json.h>
#include <cstdio>
#include <ogrsf_frmts.h>

namespace program {

namespace {

/// Of GDAL's flag: 100 is UTC, each step a quarter of an hour east of it; 0 and 1 say nothing.
std::string offsetText(int flag) {
    if (flag <= 1) {
        return {};
    }
    const int minutes = (flag - 100) * 15;
    char text[16];
    std::snprintf(text, sizeof text, "%c%02d:%02d", minutes < 0 ? '-' : '+',
                  std::abs(minutes) / 60 % 100, std::abs(minutes) % 60);
    return text;
}

std::string timeText(const OGRFeature& feature, int field) {
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    float second = 0;
    int flag = 0;
    feature.GetFieldAsDateTime(field, &year, &month, &day, &hour, &minute, &second, &flag);
    // GDAL keeps seconds in 32 bits of floating point: rounding gives back what was read, but for a
    // second that would become the next minute's first.
    const long rounded = std::lround(static_cast<double>(second) * 1000.0);
    const long ms = second < 60.0F ? std::min(rounded, 59999L) : rounded;
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02ld.%03ld", year, month, day, hour,
                  minute, ms / 1000, ms % 1000);
    return text + offsetText(flag);
}

void addProperty(CPLJSONObject& properties, const OGRFeature& feature, int field) {
    const char* name = feature.GetFieldDefnRef(field)->GetNameRef();
    const OGRFieldType type = feature.GetFieldDefnRef(field)->GetType();
    if (!feature.IsFieldSetAndNotNull(field)) {
        properties.AddNull(name);
    } else if (type == OFTInteger || type == OFTInteger64) {
        properties.Add(name, feature.GetFieldAsInteger64(field));
    } else if (type == OFTReal && std::isfinite(feature.GetFieldAsDouble(field))) {
        properties.Add(name, feature.GetFieldAsDouble(field));
    } else {
        properties.Add(name, fieldText(feature, field));
    }
}

void addGeometry(CPLJSONObject& json, const OGRFeature& feature) {
    const OGRGeometry* geometry = feature.GetGeometryRef();
    char* text = geometry != nullptr ? geometry->exportToJson() : nullptr;
    CPLJSONDocument document;
    if (text != nullptr && document.LoadMemory(text)) {
        json.Add("geometry", document.GetRoot());
    } else {
        json.AddNull("geometry");
    }
    CPLFree(text);
}

} // namespace

std::string realText(double value) {
    char digits[1100]; // the smallest number there is has 1074 decimals
    const auto end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed);
    return {digits, end.ptr};
}

std::string fieldText(const OGRFeature& feature, int field) {
    if (!feature.IsFieldSetAndNotNull(field)) {
        return {};
    }
    switch (feature.GetFieldDefnRef(field)->GetType()) {
    case OFTDate:
    case OFTDateTime:
        return timeText(feature, field);
    case OFTReal:
        return realText(feature.GetFieldAsDouble(field));
    default:
        return feature.GetFieldAsString(field);
    }
}

std::string featureText(OGRFeature& feature) {
    CPLJSONObject json;
    json.Add("type", "Feature");
    json.Add("id", static_cast<GInt64>(feature.GetFID()));
    addGeometry(json, feature);
    CPLJSONObject properties;
    for (int field = 0; field < feature.GetFieldCount(); ++field) {
        addProperty(properties, feature, field);
    }
    json.Add("properties", properties);
    return json.Format(CPLJSONObject::PrettyFormat::Plain);
}

} // namespace program
