#ifndef QORVEL_PROGRAM_GDAL_OGRFORMATS_H
#define QORVEL_PROGRAM_GDAL_OGRFORMATS_H

#include "program/GdalFormats.h"

namespace program {

/// By the GDAL that is linked.
class OgrFormats final : public GdalFormats {
public:
    std::unique_ptr<FixSource> openSource(const InputOptions& options) const override;
    std::unique_ptr<ResultWriter> openFile(const std::string& file, const std::string& extension,
                                           OutputFormat format,
                                           const ResultSchema& schema) const override;
    std::unique_ptr<ResultWriter> openTable(const std::string& database, const std::string& table,
                                            bool replaces,
                                            const ResultSchema& schema) const override;
};

} // namespace program

#endif
