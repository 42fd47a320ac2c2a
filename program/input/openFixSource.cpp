#include "program/GdalFormats.h"
#include "program/fileName.h"
#include "program/input/CsvSource.h"
#include "program/input/FileSequence.h"
#include "program/input/FixSource.h"
#include "program/input/NdjsonSource.h"
#include "program/input/gdalDriver.h"
#include "program/input/inputFiles.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

namespace program {

namespace {

struct Ending {
    std::string_view ending;
    InputFormat format;
};
constexpr Ending kEndings[] = {
    {".csv", InputFormat::csv}, {".txt", InputFormat::byName},    {".tsv", InputFormat::tsv},
    {".tab", InputFormat::tsv}, {".ndjson", InputFormat::ndjson}, {".jsonl", InputFormat::ndjson},
};

std::optional<InputFormat> formatByEnding(const std::string& name) {
    const std::string core = formatName(name);
    const auto* known =
        std::find_if(std::begin(kEndings), std::end(kEndings),
                     [&core](const Ending& entry) { return core.ends_with(entry.ending); });
    return known != std::end(kEndings) ? std::optional(known->format) : std::nullopt;
}

InputFormat formatOf(const std::string& name) {
    if (const std::optional<InputFormat> format = formatByEnding(name)) {
        return *format;
    }
    if (!gdalDriverOf(name).empty()) {
        return InputFormat::gdal;
    }
    if (name.find(':') != std::string::npos && !isThere(name)) {
        throw Failure(ExitCode::broken, name + " is no file; if one of GDAL's drivers is to open "
                                               "it, name that with --gdal-driver");
    }
    return InputFormat::byName;
}

/// By its first bytes, where its name tells nothing.
InputFormat formatOf(ByteSource& bytes) {
    const std::string_view begin = bytes.peek();
    const std::size_t first = begin.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
    return first != std::string_view::npos && begin[first] == '{' ? InputFormat::ndjson
                                                                  : InputFormat::csv;
}

} // namespace

bool tellsFormat(const std::string& file) {
    return formatByEnding(file) || !gdalDriverOf(file).empty();
}

std::unique_ptr<FixSource> openFixSource(const InputOptions& options) {
    InputFormat format =
        options.format == InputFormat::byName ? formatOf(options.file) : options.format;
    if (format == InputFormat::gdal || !options.gdalDriver.empty()) {
        return gdalFormats().openSource(options);
    }
    auto bytes = std::make_unique<ByteSource>(options.file);
    if (format == InputFormat::byName) {
        format = formatOf(*bytes);
    }
    if (format == InputFormat::ndjson) {
        return std::make_unique<NdjsonSource>(std::move(bytes), options);
    }
    const auto delimiter = format == InputFormat::tsv ? std::optional('\t') : std::nullopt;
    return std::make_unique<CsvSource>(std::move(bytes), options, delimiter);
}

std::unique_ptr<FixSource> openTracks(const InputOptions& options) {
    InputFiles files = inputFiles(options);
    if (files.names.size() > 1 || files.withoutFormat > 0 || files.linkedFolders > 0) {
        return std::make_unique<FileSequence>(options, std::move(files));
    }
    InputOptions only = options;
    only.file = files.names.front();
    return openFixSource(only);
}

} // namespace program
