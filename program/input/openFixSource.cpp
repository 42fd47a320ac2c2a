#include "program/input/CsvSource.h"
#include "program/input/FixSource.h"
#include "program/input/NdjsonSource.h"
#include "program/input/OgrSource.h"
#include "program/input/fileName.h"
#include "program/input/gdalOpening.h"

#include <algorithm>
#include <string_view>

namespace program {

namespace {

struct Ending {
    std::string_view ending;
    InputFormat format;
};
constexpr Ending kEndings[] = {
    {".csv", InputFormat::csv}, {".txt", InputFormat::csv},       {".tsv", InputFormat::tsv},
    {".tab", InputFormat::tsv}, {".ndjson", InputFormat::ndjson}, {".jsonl", InputFormat::ndjson},
};

InputFormat formatOf(const std::string& name) {
    const std::string core = formatName(name);
    const auto* known =
        std::find_if(std::begin(kEndings), std::end(kEndings),
                     [&core](const Ending& entry) { return core.ends_with(entry.ending); });
    if (known != std::end(kEndings)) {
        return known->format;
    }
    if (!gdalDriverOf(name).empty()) {
        return InputFormat::gdal;
    }
    if (name.find(':') != std::string::npos && !isThere(name)) {
        throw Failure(ExitCode::broken, name + " is no file; if one of GDAL's drivers is to open "
                                               "it, name that with --gdal-driver");
    }
    return InputFormat::csv;
}

} // namespace

std::unique_ptr<FixSource> openFixSource(const InputOptions& options) {
    if (!options.gdalDriver.empty()) {
        return std::make_unique<OgrSource>(options);
    }
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

} // namespace program
