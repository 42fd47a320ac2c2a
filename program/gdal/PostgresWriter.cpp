#include "program/gdal/PostgresWriter.h"

#include "program/gdal/GdalErrors.h"
#include "program/output/writeFailure.h"
#include "program/shownName.h"

#include <algorithm>
#include <cpl_string.h>
#include <ogrsf_frmts.h>

namespace program {

PostgresWriter::PostgresWriter(const std::string& name, const std::string& table, bool replaces,
                               const ResultSchema& schema)
    : name_(shownName(name)) {
    RegisterOGRPG();
    const GdalErrors errors;
    const char* const drivers[] = {"PostgreSQL", nullptr};
    dataset_.reset(GDALDataset::Open(
        name.c_str(), GDAL_OF_VECTOR | GDAL_OF_UPDATE | GDAL_OF_VERBOSE_ERROR, drivers));
    if (!dataset_) {
        fail("the database cannot be opened", errors);
    }
    makeTable(table.empty() ? schema.name : table, replaces, schema);
}

PostgresWriter::~PostgresWriter() {
    rollBack();
}

void PostgresWriter::makeTable(const std::string& table, bool replaces,
                               const ResultSchema& schema) {
    {
        const GdalErrors quiet; // that there is none is no fault
        if (!replaces && dataset_->GetLayerByName(table.c_str()) != nullptr) {
            throw writeFailure(name_, "there is a table \"" + table +
                                          "\" already; --table names another, --replace-table has "
                                          "it replaced");
        }
    }
    const GdalErrors errors;
    CPLStringList options;
    options.SetNameValue("GEOMETRY_NAME", "geom");
    options.SetNameValue("FID", "id");
    options.SetNameValue("LAUNDER", "NO");
    options.SetNameValue("OVERWRITE", replaces ? "YES" : "NO");
    const bool isBegun = dataset_->StartTransaction() == OGRERR_NONE;
    OGRLayer* layer = isBegun ? addLayer(*dataset_, table, schema, options.List()) : nullptr;
    if (layer == nullptr || !errors.first().empty()) {
        fail("the table \"" + table + "\" cannot be made", errors);
    }
    rows_.emplace(*layer, schema);
}

void PostgresWriter::write(const ResultBatch& results) {
    const GdalErrors errors;
    for (std::size_t row = 0; row < results.table.size(); ++row) {
        if (!rows_->write(results.table, row)) {
            fail("rows cannot be written", errors);
        }
    }
}

void PostgresWriter::finish() {
    const GdalErrors errors;
    rows_.reset();
    if (dataset_->CommitTransaction() != OGRERR_NONE || !errors.first().empty()) {
        fail("the table cannot be completed", errors);
    }
    dataset_.reset();
}

std::string PostgresWriter::abandon() noexcept {
    rollBack();
    return {};
}

void PostgresWriter::rollBack() noexcept {
    const GdalErrors quiet;
    rows_.reset();
    if (dataset_) {
        dataset_->RollbackTransaction();
        dataset_.reset();
    }
}

void PostgresWriter::fail(const std::string& what, const GdalErrors& errors) const {
    std::string reason = shownName(errors.first());
    std::replace(reason.begin(), reason.end(), '\n', ' ');
    throw writeFailure(name_, what + (reason.empty() ? "" : " (" + reason + ")"));
}

} // namespace program
