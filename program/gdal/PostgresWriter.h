#ifndef QORVEL_PROGRAM_GDAL_POSTGRESWRITER_H
#define QORVEL_PROGRAM_GDAL_POSTGRESWRITER_H

#include "program/gdal/OgrRows.h"
#include "program/output/ResultWriter.h"

#include <memory>
#include <optional>
#include <string>

class GDALDataset;

namespace program {

class GdalErrors;

/// A table of a PostGIS database: shapes as geometry(Polygon, 4326) in "geom", times as timestamp
/// with time zone. What a GIS file cannot hold, it does not hold either, see OgrWriter.
///
/// All of it is one transaction: others see the table when it is complete, or never.
class PostgresWriter : public ResultWriter {
public:
    /// @param name      as in "PG:dbname=fleet"
    /// @param table     as in "stays" or "schema.stays"; empty: the name of the results
    /// @param replaces  a table of that name goes
    PostgresWriter(const std::string& name, const std::string& table, bool replaces,
                   const ResultSchema& schema);
    ~PostgresWriter() override;

    std::shared_ptr<const Renderer> renderer() const override { return nullptr; }
    void write(const ResultBatch& results) override;
    void flush() override {}
    void finish() override;
    std::string abandon() noexcept override;

private:
    void makeTable(const std::string& table, bool replaces, const ResultSchema& schema);
    void rollBack() noexcept;
    [[noreturn]] void fail(const std::string& what, const GdalErrors& errors) const;

    std::string name_; ///< as it is shown
    std::unique_ptr<GDALDataset> dataset_;
    std::optional<OgrRows> rows_;
};

} // namespace program

#endif
