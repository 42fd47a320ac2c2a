#ifndef QORVEL_PROGRAM_INPUT_GDALDRIVER_H
#define QORVEL_PROGRAM_INPUT_GDALDRIVER_H

#include <string>

namespace program {

/// GDAL's driver for an input of that name: of .gpx, .gpkg, .geojson, .geojsonl, .json, .fgb and
/// .shp, also in front of .gz, and of what is no file but begins like the name of a database
/// ("PG:dbname=fleet"). Empty for others: GDAL knows formats by what is in a file, and some of them
/// are programs that read, write and fetch what they like. So a file never chooses its driver.
std::string gdalDriverOf(const std::string& input);

/// Is it no file, and begins like the name of a database?
bool isDatabaseName(const std::string& input);

} // namespace program

#endif
