#include "program/gdal/OgrFormats.h"

#include "program/Failure.h"
#include "program/gdal/GeoPackageWriter.h"
#include "program/gdal/OgrSource.h"
#include "program/gdal/OgrWriter.h"
#include "program/gdal/PostgresWriter.h"

namespace program {

namespace {

OgrFormat formatOf(OutputFormat format) {
    return format == OutputFormat::flatgeobuf ? flatGeobufFormat()
           : format == OutputFormat::parquet  ? parquetFormat()
                                              : arrowFormat();
}

} // namespace

std::unique_ptr<FixSource> OgrFormats::openSource(const InputOptions& options) const {
    return std::make_unique<OgrSource>(options);
}

/// Debian's GDAL has no drivers for some; those who add them get the files from here, too.
std::unique_ptr<ResultWriter> OgrFormats::openFile(const std::string& file,
                                                   const std::string& extension,
                                                   OutputFormat format,
                                                   const ResultSchema& schema) const {
    if (format == OutputFormat::geopackage) {
        return std::make_unique<GeoPackageWriter>(file, extension, schema);
    }
    const OgrFormat known = formatOf(format);
    if (!isAvailable(known)) {
        throw Failure(ExitCode::usage, file + ": GDAL has no driver for " + known.driver +
                                           " files here; " + known.otherwise);
    }
    return std::make_unique<OgrWriter>(file, extension, known, schema);
}

std::unique_ptr<ResultWriter> OgrFormats::openTable(const std::string& database,
                                                    const std::string& table, bool replaces,
                                                    const ResultSchema& schema) const {
    return std::make_unique<PostgresWriter>(database, table, replaces, schema);
}

} // namespace program
