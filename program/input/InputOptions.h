#ifndef QORVEL_PROGRAM_INPUT_INPUTOPTIONS_H
#define QORVEL_PROGRAM_INPUT_INPUTOPTIONS_H

#include "engine/setup/TimeZone.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace program {

/// What a row of movement data is made of.
enum class FixField : std::size_t {
    entity,
    latitude,
    longitude,
    time,
    accuracy, ///< optional, as are those that follow
    primaryKey,
    secondaryKey,
    point, ///< both coordinates in one column: WKT or GeoJSON
    count
};

enum class InputFormat {
    byName, ///< by the file's name (below its .gz), or by its first bytes
    csv,
    tsv,
    ndjson,
    gdal ///< what GDAL reads: GPX, GeoPackage, GeoJSON, FlatGeobuf, a database
};

/// How a time that is a plain number counts.
enum class TimeUnit {
    byValue, ///< as the column's name ends (time_ms), else by the first number, see TimeReader
    seconds,
    milliseconds,
    microseconds,
    nanoseconds
};

/// Where movement data comes from and how it reads.
struct InputOptions {
    std::vector<std::string> names; ///< of the whole input, see inputFiles()
    std::string file; ///< that is read: a file, "-" for standard input, or a GDAL connection text
    InputFormat format = InputFormat::byName;
    /// By FixField, the name of the column that holds it; empty: found by its usual names.
    std::array<std::string, static_cast<std::size_t>(FixField::count)> columns;
    /// Whether keys count: without a configuration that tells them apart they would only keep rows
    /// from what takes all.
    bool readsKeys = true;
    TimeUnit timeUnit = TimeUnit::byValue;
    std::optional<qorvel_engine::TimeZone> zone; ///< of times without an offset; none: UTC
    std::string gdalDriver; ///< that reads it, trusted with all that it does; empty: by name
    std::string query;      ///< in SQL, to a database, in place of a layer
    std::string layer;      ///< of a GDAL source; empty: the only one, or the one with points
};

} // namespace program

#endif
