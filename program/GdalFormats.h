#ifndef QORVEL_PROGRAM_GDALFORMATS_H
#define QORVEL_PROGRAM_GDALFORMATS_H

#include "program/engineNames.h"

#include <memory>
#include <string>

namespace qorvel_engine {
struct ResultSchema;
}

namespace program {

class FixSource;
class ResultWriter;
enum class OutputFormat;
struct InputOptions;

/// What GDAL reads and writes. GDAL brings a hundred libraries, which cost each start 40 ms and
/// 30 MiB; so all that leans on it is a module, and only a run that needs it loads it.
class GdalFormats {
public:
    /// See OgrSource.
    virtual std::unique_ptr<FixSource> openSource(const InputOptions& options) const = 0;

    /// A file of a GIS, see OgrWriter and GeoPackageWriter. Throws Failure(usage) where GDAL has no
    /// driver for it, Failure(broken) when it cannot be made.
    /// @param format  geopackage, flatgeobuf, parquet or arrow
    virtual std::unique_ptr<ResultWriter> openFile(const std::string& file,
                                                   const std::string& extension,
                                                   OutputFormat format,
                                                   const ResultSchema& schema) const = 0;

    /// A table, see PostgresWriter.
    virtual std::unique_ptr<ResultWriter> openTable(const std::string& database,
                                                    const std::string& table, bool replaces,
                                                    const ResultSchema& schema) const = 0;

protected:
    ~GdalFormats() = default;
};

/// Loads the module when first asked. Throws Failure(broken) where it is not installed.
const GdalFormats& gdalFormats();

} // namespace program

#endif
