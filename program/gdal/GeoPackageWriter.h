#ifndef QORVEL_PROGRAM_GDAL_GEOPACKAGEWRITER_H
#define QORVEL_PROGRAM_GDAL_GEOPACKAGEWRITER_H

#include "program/gdal/SpatialIndex.h"
#include "program/gdal/SqliteDatabase.h"
#include "program/gdal/SqliteInsertion.h"
#include "program/output/PartialFile.h"
#include "program/output/ResultWriter.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace program {

/// A GeoPackage with the layer and the values that OgrWriter would write, a tenth of the time:
/// GDAL makes the empty file, and rows and their spatial index go into its tables directly.
///
/// What is committed on the way is a GeoPackage without a spatial index, so that of a disk that
/// fills up something is left.
///
/// It has the time of its making inside, and so is never the same twice, unless GDAL's variable
/// OGR_CURRENT_DATE sets that time.
class GeoPackageWriter : public ResultWriter {
public:
    GeoPackageWriter(const std::string& file, const std::string& extension,
                     const ResultSchema& schema);
    ~GeoPackageWriter() override;

    std::shared_ptr<const Renderer> renderer() const override { return nullptr; }
    void write(const ResultBatch& results) override;
    void flush() override {}
    void finish() override;
    std::string abandon() noexcept override;

private:
    /// The file while rows go into it.
    struct Tables {
        Tables(const std::string& file, const ResultSchema& schema);

        SqliteDatabase database;
        SpatialIndex index;
        SqliteInsertion rows;
        SqliteStatement noteCount;
        SqliteStatement noteBounds;
    };

    template <typename Work>
    void guard(const Work& work);
    void makeEmpty() const;
    void writeRow(const ResultTable& table, std::size_t row);
    void putField(const ResultTable& table, std::size_t row, std::size_t column);
    void putTime(std::int64_t time);
    void putShape(const std::optional<SpaceBox>& cell);
    void widen(const CellBounds& bounds);
    void commit();
    void complete();
    void leaveOutIndex() const;

    std::string name_;
    const ResultSchema& schema_;
    PartialFile file_;
    std::optional<Tables> tables_; ///< none when the file is complete, or broken
    bool isIndexed_ = false;
    std::optional<CellBounds> bounds_; ///< of all cells
    std::string time_;                 ///< its memory is used again
    std::int64_t count_ = 0;
    std::int64_t committed_ = 0;
};

} // namespace program

#endif
