#include "tools/input/CsvSource.h"
#include "tools/input/FixSource.h"
#include "tools/input/NdjsonSource.h"
#include "tools/input/OgrSource.h"

#include <algorithm>
#include <filesystem>
#include <string_view>

namespace host {

namespace {

struct Ending {
    std::string_view ending;
    InputFormat format;
};
constexpr Ending kEndings[] = {
    {".csv", InputFormat::csv},
    {".txt", InputFormat::csv},
    {".tsv", InputFormat::tsv},
    {".tab", InputFormat::tsv},
    {".ndjson", InputFormat::ndjson},
    {".jsonl", InputFormat::ndjson},
    // Where one of these is broken, GDAL is to say so, rather than CSV to find no columns.
    {".gpx", InputFormat::gdal},
    {".gpkg", InputFormat::gdal},
    {".fgb", InputFormat::gdal},
    {".geojson", InputFormat::gdal},
    {".json", InputFormat::gdal},
    {".shp", InputFormat::gdal},
};

std::string withoutGz(const std::string& name) {
    constexpr std::string_view kGz = ".gz";
    return name.substr(0, name.size() - (name.ends_with(kGz) ? kGz.size() : 0));
}

std::string lowered(std::string name) {
    std::transform(name.begin(), name.end(), name.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return name;
}

/// What is no file, but looks like "PG:dbname=x", names a database. A pipe cannot be looked into
/// without taking from it.
bool isForGdal(const std::string& name) {
    std::error_code ignored;
    const auto status = std::filesystem::status(name, ignored);
    if (is_regular_file(status) || is_directory(status)) {
        return OgrSource::recognises(name);
    }
    return !exists(status) && name.find(':') != std::string::npos;
}

InputFormat formatOf(const std::string& name) {
    const std::string core = withoutGz(lowered(name));
    const auto* known =
        std::find_if(std::begin(kEndings), std::end(kEndings),
                     [&core](const Ending& entry) { return core.ends_with(entry.ending); });
    if (known != std::end(kEndings)) {
        return known->format;
    }
    return name != "-" && isForGdal(name) ? InputFormat::gdal : InputFormat::csv;
}

} // namespace

std::unique_ptr<FixSource> openFixSource(const InputOptions& options) {
    switch (options.format == InputFormat::byName ? formatOf(options.file) : options.format) {
    case InputFormat::gdal:
        return std::make_unique<OgrSource>(options);
    case InputFormat::ndjson:
        return std::make_unique<NdjsonSource>(options);
    case InputFormat::tsv:
        return std::make_unique<CsvSource>(options, '\t');
    case InputFormat::byName:
    case InputFormat::csv:
        break;
    }
    return std::make_unique<CsvSource>(options, ',');
}

} // namespace host
