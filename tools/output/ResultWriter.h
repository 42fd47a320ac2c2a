#ifndef QORVEL_TOOLS_OUTPUT_RESULTWRITER_H
#define QORVEL_TOOLS_OUTPUT_RESULTWRITER_H

#include "tools/output/ResultRow.h"

#include <memory>
#include <string>
#include <string_view>

namespace host {

enum class OutputFormat {
    byName, ///< by the file's name; CSV for standard output
    csv,
    ndjson,
    geojson,
    geopackage,
    flatgeobuf
};

struct OutputOptions {
    std::string file = "-"; ///< "-" for standard output, which cannot take the last two formats
    OutputFormat format = OutputFormat::byName;
    bool isCsvSafe = false; ///< texts in CSV by csv::appendSafeField
};

/// Writes results in one format. A file is written under a temporary name beside its own and
/// renamed when complete.
///
/// All take rows by `writeRow`. A text format (CSV, NDJSON, GeoJSON) also turns rows into text with
/// `append`, which only reads the writer and may be called from several threads; the texts are then
/// written in order by `writeText`.
///
/// Every operation that writes throws Failure(broken) when it cannot (a full disk, a reader that
/// went away).
class ResultWriter {
public:
    virtual ~ResultWriter() = default;

    virtual bool isText() const = 0;

    /// Appends a row as text; only for a text format.
    virtual void append(std::string& text, const ResultRow& row) const = 0;

    /// Writes texts of whole rows; only for a text format.
    virtual void writeText(std::string_view rows) = 0;

    /// Writes a row.
    virtual void writeRow(const ResultRow& row) = 0;

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
/// Throws Failure(usage) for a format that the name does not tell or a direct file cannot take,
/// Failure(broken) when the file cannot be made. The schema must outlive the writer.
std::unique_ptr<ResultWriter> openResultWriter(const OutputOptions& options, const Schema& schema);

} // namespace host

#endif
