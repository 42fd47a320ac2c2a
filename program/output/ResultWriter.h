#ifndef QORVEL_PROGRAM_OUTPUT_RESULTWRITER_H
#define QORVEL_PROGRAM_OUTPUT_RESULTWRITER_H

#include "engine/run/Renderer.h"
#include "engine/run/ResultBatch.h"
#include "engine/setup/TimeZone.h"
#include "program/engineNames.h"

#include <memory>
#include <optional>
#include <string>

namespace program {

enum class OutputFormat {
    byName, ///< by the file's name; CSV for standard output
    csv,
    ndjson,
    geojson,
    geopackage,
    flatgeobuf,
    parquet, ///< GeoParquet, where GDAL has the driver
    arrow,   ///< Arrow's files, likewise
    html     ///< a page with a map
};

struct OutputOptions {
    std::string file = "-"; ///< "-" for standard output, which cannot take a GIS's files
    OutputFormat format = OutputFormat::byName;
    bool isCsvSafe = false;            ///< texts in CSV by csv::appendSafeField
    std::string tiles = {};            ///< of a street map, see qorvel_page::isTileAddress
    std::optional<TimeZone> zone = {}; ///< of times in texts; none: UTC
    std::string table = {};            ///< of a database; empty: the name of the results
    bool replacesTable = false;        ///< one that is there goes
};

/// Writes results in one format. A file is written under a temporary name beside its own and
/// renamed when complete.
///
/// Every operation that writes throws Failure(broken) when it cannot (a full disk, a reader that
/// went away).
class ResultWriter {
public:
    virtual ~ResultWriter() = default;

    /// What makes the texts that a text format (CSV, NDJSON, GeoJSON) wants, in whichever threads;
    /// null for a format that wants tables.
    virtual std::shared_ptr<const Renderer> renderer() const = 0;

    /// Writes results: the texts that the renderer made of them, or the table.
    virtual void write(const ResultBatch& results) = 0;

    /// What is written so far reaches whoever reads standard output or a named pipe; nothing for a
    /// file that has a temporary name.
    virtual void flush() = 0;

    /// Ends the output and gives the file its name.
    virtual void finish() = 0;

    /// Ends the output early: what is written stays, whole rows only and readable as the format,
    /// under the temporary name, which is returned. Also after a failed write. Empty for standard
    /// output and other files that are written directly, and where nothing could be saved.
    virtual std::string abandon() noexcept = 0;
};

/// Standard output, devices and named pipes are written directly, CSV where the name tells nothing.
/// Behind a text format's ending, ".gz" packs it.
/// Throws Failure(usage) for a format that the name does not tell or a direct file cannot take,
/// Failure(broken) when the file cannot be made. The schema must outlive the writer and its
/// renderer.
std::unique_ptr<ResultWriter> openResultWriter(const OutputOptions& options,
                                               const ResultSchema& schema);

} // namespace program

#endif
