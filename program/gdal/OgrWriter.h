#ifndef QORVEL_PROGRAM_GDAL_OGRWRITER_H
#define QORVEL_PROGRAM_GDAL_OGRWRITER_H

#include "program/gdal/OgrRows.h"
#include "program/output/PartialFile.h"
#include "program/output/ResultWriter.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

class GDALDataset;
class OGRLayer;

namespace program {

class GdalErrors;

/// One of GDAL's vector drivers.
struct OgrFormat {
    const char* driver; ///< GDAL's name
    void (*registerDriver)();
    const char* otherwise; ///< what to do where there is none
};

OgrFormat flatGeobufFormat();
OgrFormat parquetFormat();
OgrFormat arrowFormat();

/// Has this machine's GDAL the driver?
bool isAvailable(const OgrFormat& format);

/// A file of a GIS: one layer, in WGS 84, with a typed field for each column.
///
/// A time outside the years 0 to 9999, and with it the far end of a box, is null: such files have
/// no way to say it; a missing value is null, too. Text is made UTF-8, see asUtf8, and a NUL in it
/// becomes U+FFFD.
class OgrWriter : public ResultWriter {
public:
    /// Of a format that isAvailable.
    OgrWriter(const std::string& file, const std::string& extension, const OgrFormat& format,
              const ResultSchema& schema);
    ~OgrWriter() override;

    std::shared_ptr<const Renderer> renderer() const override { return nullptr; }
    void write(const ResultBatch& results) override;
    void flush() override {}
    void finish() override;
    std::string abandon() noexcept override;

private:
    void create();
    void close();
    bool isWhole() const;
    void expect(bool holds, const GdalErrors& errors);

    std::string name_;
    OgrFormat format_;
    const ResultSchema& schema_;
    PartialFile file_;
    std::unique_ptr<GDALDataset> dataset_;
    OGRLayer* layer_ = nullptr;
    std::optional<OgrRows> rows_;
    std::int64_t count_ = 0;
};

} // namespace program

#endif
