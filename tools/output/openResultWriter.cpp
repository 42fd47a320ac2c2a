#include "tools/Failure.h"
#include "tools/output/CsvWriter.h"
#include "tools/output/GeoJsonWriter.h"
#include "tools/output/NdjsonWriter.h"
#include "tools/output/OgrWriter.h"
#include "tools/output/ResultWriter.h"
#include "tools/output/TextFile.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>

namespace host {

namespace {

struct Extension {
    const char* text;
    OutputFormat format;
};

/// The first of a format is that of its temporary files.
constexpr std::array kExtensions = {
    Extension{".csv", OutputFormat::csv},        Extension{".ndjson", OutputFormat::ndjson},
    Extension{".jsonl", OutputFormat::ndjson},   Extension{".geojson", OutputFormat::geojson},
    Extension{".json", OutputFormat::geojson},   Extension{".gpkg", OutputFormat::geopackage},
    Extension{".fgb", OutputFormat::flatgeobuf},
};

std::string lowerExtension(const std::string& file) {
    std::string extension = std::filesystem::path(file).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

Failure unknownFormat(const std::string& file) {
    std::string known;
    for (const Extension& extension : kExtensions) {
        known += known.empty() ? "" : " ";
        known += extension.text;
    }
    return {ExitCode::usage,
            "the name of " + file + " does not tell its format; known endings: " + known};
}

OutputFormat formatByName(const std::string& file) {
    const std::string wanted = lowerExtension(file);
    const auto* found = std::find_if(kExtensions.begin(), kExtensions.end(),
                                     [&](const Extension& known) { return wanted == known.text; });
    if (found != kExtensions.end()) {
        return found->format;
    }
    if (isWrittenDirectly(file)) {
        return OutputFormat::csv;
    }
    throw unknownFormat(file);
}

std::string extensionOf(OutputFormat format) {
    return std::find_if(kExtensions.begin(), kExtensions.end(),
                        [&](const Extension& known) { return known.format == format; })
        ->text;
}

std::unique_ptr<ResultWriter> openOgrWriter(const std::string& file, const std::string& extension,
                                            const OgrFormat& format, const Schema& schema) {
    if (isWrittenDirectly(file)) {
        throw Failure(ExitCode::usage, "a " + extension + " file must be a real file, which " +
                                           (file == "-" ? "standard output" : file) + " is not");
    }
    return std::make_unique<OgrWriter>(file, extension, format, schema);
}

} // namespace

std::unique_ptr<ResultWriter> openResultWriter(const OutputOptions& options, const Schema& schema) {
    const std::string& file = options.file;
    const OutputFormat format =
        options.format == OutputFormat::byName ? formatByName(file) : options.format;
    const std::string extension = extensionOf(format);
    switch (format) {
    case OutputFormat::byName:
    case OutputFormat::csv:
        return std::make_unique<CsvWriter>(file, extension, schema, options.isCsvSafe);
    case OutputFormat::ndjson:
        return std::make_unique<NdjsonWriter>(file, extension, schema);
    case OutputFormat::geojson:
        return std::make_unique<GeoJsonWriter>(file, extension, schema);
    case OutputFormat::geopackage:
        return openOgrWriter(file, extension, geoPackageFormat(), schema);
    case OutputFormat::flatgeobuf:
        return openOgrWriter(file, extension, flatGeobufFormat(), schema);
    }
    return nullptr;
}

} // namespace host
