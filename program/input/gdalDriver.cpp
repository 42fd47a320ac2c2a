#include "program/input/gdalDriver.h"

#include "program/fileName.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace program {

namespace {

struct Naming {
    std::string_view piece; ///< of a name, in small letters
    const char* driver;
};
constexpr Naming kEndings[] = {
    {".gpx", "GPX"},
    {".gpkg", "GPKG"},
    {".fgb", "FlatGeobuf"},
    {".geojson", "GeoJSON"},
    {".json", "GeoJSON"},
    {".geojsonl", "GeoJSONSeq"},
    {".shp", "ESRI Shapefile"},
    {".parquet", "Parquet"},
    {".geoparquet", "Parquet"},
    {".arrow", "Arrow"},
    {".feather", "Arrow"},
};
constexpr Naming kBeginnings[] = {
    {"pg:", "PostgreSQL"},
    {"postgresql:", "PostgreSQL"},
    {"mysql:", "MySQL"},
    {"mssql:", "MSSQLSpatial"},
};

const char* driverByBeginning(const std::string& input) {
    const std::string name = formatName(input);
    const auto* known =
        std::find_if(std::begin(kBeginnings), std::end(kBeginnings),
                     [&name](const Naming& entry) { return name.starts_with(entry.piece); });
    return known == std::end(kBeginnings) || isThere(input) ? nullptr : known->driver;
}

} // namespace

std::string gdalDriverOf(const std::string& input) {
    if (const char* driver = driverByBeginning(input)) {
        return driver;
    }
    const std::string name = formatName(input);
    const auto* known =
        std::find_if(std::begin(kEndings), std::end(kEndings),
                     [&name](const Naming& entry) { return name.ends_with(entry.piece); });
    return known == std::end(kEndings) ? "" : known->driver;
}

bool isDatabaseName(const std::string& input) {
    return driverByBeginning(input) != nullptr;
}

} // namespace program
