#include "program/Failure.h"
#include "program/GdalFormats.h"
#include "program/fileName.h"
#include "program/output/CsvFormat.h"
#include "program/output/GeoJsonFormat.h"
#include "program/output/HtmlWriter.h"
#include "program/output/NdjsonFormat.h"
#include "program/output/ResultWriter.h"
#include "program/output/TextFile.h"
#include "program/output/TextWriter.h"
#include "program/output/growingFormat.h"
#include "program/shownName.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <string_view>
#include <utility>

namespace program {

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
    Extension{".fgb", OutputFormat::flatgeobuf}, Extension{".html", OutputFormat::html},
    Extension{".htm", OutputFormat::html},       Extension{".parquet", OutputFormat::parquet},
    Extension{".arrow", OutputFormat::arrow},    Extension{".geoparquet", OutputFormat::parquet},
    Extension{".feather", OutputFormat::arrow},
};

std::string lowerExtension(const std::string& file) {
    std::string extension = std::filesystem::path(formatName(file)).extension().string();
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

/// GIS's files need a name of their own.
void checkRealFile(const std::string& file, const std::string& extension) {
    if (isPacked(file)) {
        throw Failure(ExitCode::usage, "a " + extension + " file cannot be written packed");
    }
    if (isWrittenDirectly(file)) {
        throw Failure(ExitCode::usage, "a " + extension + " file must be a real file, which " +
                                           (file == "-" ? "standard output" : file) + " is not");
    }
}

void checkTiles(const std::string& tiles, OutputFormat format) {
    if (!tiles.empty() && format != OutputFormat::html) {
        throw Failure(ExitCode::usage, "--tiles is for a page: --out NAME.html or --format html");
    }
    if (!tiles.empty() && !qorvel_page::isTileAddress(tiles)) {
        throw Failure(ExitCode::usage, "--tiles " + tiles +
                                           ": want an address such as "
                                           "https://tiles.example.org/{z}/{x}/{y}.png");
    }
}

void checkTable(const OutputOptions& options) {
    if (!options.table.empty() || options.replacesTable) {
        throw Failure(ExitCode::usage, "--table and --replace-table are for a database: --out "
                                       "\"PG:dbname=...\"");
    }
}

} // namespace

std::shared_ptr<const TextFormat> growingFormat(const OutputOptions& options,
                                                const ResultSchema& schema) {
    const std::string& file = options.file;
    if (!isPostgres(file) && !isWrittenDirectly(file) && !isPacked(file)) {
        const OutputFormat format =
            options.format == OutputFormat::byName ? formatByName(file) : options.format;
        checkTiles(options.tiles, format);
        if (format == OutputFormat::csv) {
            return std::make_shared<CsvFormat>(schema, options.isCsvSafe, options.zone);
        }
        if (format == OutputFormat::ndjson) {
            return std::make_shared<NdjsonFormat>(schema, options.zone);
        }
    }
    throw Failure(ExitCode::usage, "with --state the results go into a file that grows: --out "
                                   "NAME.csv or NAME.ndjson, not packed");
}

std::unique_ptr<ResultWriter> openResultWriter(const OutputOptions& options,
                                               const ResultSchema& schema) {
    const std::string& file = options.file;
    if (isPostgres(file)) {
        checkTiles(options.tiles, OutputFormat::byName);
        return gdalFormats().openTable(file, options.table, options.replacesTable, schema);
    }
    checkTable(options);
    const OutputFormat format =
        options.format == OutputFormat::byName ? formatByName(file) : options.format;
    const std::string extension = extensionOf(format);
    checkTiles(options.tiles, format);
    const auto text = [&](std::shared_ptr<const TextFormat> textFormat) {
        return std::make_unique<TextWriter>(file, extension + (isPacked(file) ? ".gz" : ""),
                                            std::move(textFormat));
    };
    switch (format) {
    case OutputFormat::byName:
    case OutputFormat::csv:
        return text(std::make_shared<CsvFormat>(schema, options.isCsvSafe, options.zone));
    case OutputFormat::ndjson:
        return text(std::make_shared<NdjsonFormat>(schema, options.zone));
    case OutputFormat::geojson:
        return text(std::make_shared<GeoJsonFormat>(schema, options.zone));
    case OutputFormat::geopackage:
    case OutputFormat::flatgeobuf:
    case OutputFormat::parquet:
    case OutputFormat::arrow:
        checkRealFile(file, extension);
        return gdalFormats().openFile(file, extension, format, schema);
    case OutputFormat::html:
        return std::make_unique<HtmlWriter>(file, extension, schema, options.tiles);
    }
    return nullptr;
}

} // namespace program
