#include "program/cli/inputGroup.h"

#include "program/cli/options.h"
#include "program/engineNames.h"

#include <cmath>
#include <utility>

namespace program {

void addInput(CLI::App& command, InputOptions& input, bool isRequired) {
    const std::map<std::string, InputFormat> formats = {{"by-name", InputFormat::byName},
                                                        {"csv", InputFormat::csv},
                                                        {"tsv", InputFormat::tsv},
                                                        {"ndjson", InputFormat::ndjson},
                                                        {"gdal", InputFormat::gdal}};
    const std::map<std::string, TimeUnit> units = {{"by-value", TimeUnit::byValue},
                                                   {"s", TimeUnit::seconds},
                                                   {"ms", TimeUnit::milliseconds},
                                                   {"us", TimeUnit::microseconds},
                                                   {"ns", TimeUnit::nanoseconds}};
    const std::pair<const char*, const char*> columns[] = {
        {"--entity-column", "who"},
        {"--lat-column", "the latitude, degrees"},
        {"--lon-column", "the longitude, degrees"},
        {"--time-column", "when"},
        {"--accuracy-column", "how exact, metres"},
        {"--primary-key-column", "the primary key"},
        {"--secondary-key-column", "the secondary key"},
        {"--point-column", "the place, as WKT or GeoJSON, in place of latitude and longitude"}};
    command
        .add_option(
            "FILE", input.names,
            "files of tracks, patterns as in \"*.csv\", folders with all that is below them, - "
            "for standard input, or a database as in \"PG:dbname=fleet\"; several are read "
            "one after another, and an entity may be in more than one")
        ->required(isRequired);
    const std::string group = "Input";
    addChoice(command, "--input-format", input.format, formats,
              "format of the tracks; by-name: by the ending, else NDJSON if the first byte is a "
              "brace, else CSV. CSV may have commas, semicolons, tabs or bars; what gzip packed is "
              "unpacked");
    command.get_option("--input-format")->group(group);
    for (std::size_t field = 0; field < input.columns.size(); ++field) {
        command
            .add_option(columns[field].first, input.columns[field],
                        std::string("column that says ") + columns[field].second)
            ->group(group);
    }
    addChoice(
        command, "--time-unit", input.timeUnit, units,
        "of times that are plain numbers; by-value: as the column's name ends (_ms, _us, _ns), "
        "else by the first one: seconds below 10^11, ms below 10^14, us below 10^17, else ns; "
        "what is beyond the year 5138 then is refused");
    command.get_option("--time-unit")->group(group);
    command
        .add_option(
            "--gdal-driver", input.gdalDriver,
            "the one of GDAL's drivers that is to read the tracks; those of .gpx, .gpkg, "
            ".geojson, .geojsonl, .json, .fgb and .shp are known. It is trusted with all that it "
            "does: some read, write and fetch what a file tells them")
        ->group(group);
    command
        .add_option_function<std::string>(
            "--time-zone", [&input](const std::string& name) { input.zone = TimeZone(name); },
            "zone of times without an offset, and of times in CSV, NDJSON and GeoJSON results, as "
            "in Europe/Berlin or +05:30")
        ->default_str("UTC")
        ->group(group);
    command
        .add_option("--query", input.query,
                    "SQL for a database, whose rows are the tracks, as in \"SELECT * FROM fixes "
                    "ORDER BY time\"")
        ->group(group);
    command.add_option("--layer", input.layer, "layer of a GDAL source")->group(group);
}

void addEvents(CLI::App& command, EventOptions& events) {
    addDistance(command, "--default-tolerance", events.defaultTolerance,
                "accuracy of a fix without one");
    addValue(command, "--time-tolerance", events.timeTolerance, "of every fix, 0 or 1 millisecond");
}

void ignoreKeys(InputOptions& input) {
    input.readsKeys = false;
    for (const FixField field : {FixField::primaryKey, FixField::secondaryKey}) {
        if (!input.columns[static_cast<std::size_t>(field)].empty()) {
            throw usageFailure("keys count only with --config: without it all rows do");
        }
    }
}

void refuseSenseless(const EventOptions& events) {
    if (!std::isfinite(events.defaultTolerance) || events.defaultTolerance < 0.0) {
        throw usageFailure("--default-tolerance must be a number of metres, 0 or more");
    }
    if (events.timeTolerance > 1) {
        throw usageFailure("--time-tolerance must be 0 or 1");
    }
}

} // namespace program
