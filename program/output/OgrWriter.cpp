#include "program/output/OgrWriter.h"

#include "program/GdalErrors.h"
#include "program/output/writeFailure.h"

#include <algorithm>
#include <ogrsf_frmts.h>
#include <unistd.h>

namespace program {

namespace {

/// Commits cost, and what is not committed is lost when the disk fills up.
constexpr std::int64_t kRowsPerTransaction = 10000;

/// SQLite names a full disk; others tell only that they could not write.
std::string reasonOf(const GdalErrors& errors) {
    const std::string reason = errors.first().empty() ? "its end is missing" : errors.first();
    return reason.ends_with("is full") ? reason : reason + "; is the disk full?";
}

} // namespace

OgrFormat geoPackageFormat() {
    return {"GPKG", RegisterOGRGeoPackage, 1};
}

OgrFormat flatGeobufFormat() {
    return {"FlatGeobuf", RegisterOGRFlatGeobuf, 0};
}

OgrFormat parquetFormat() {
    return {"Parquet", GDALAllRegister, 0};
}

OgrFormat arrowFormat() {
    return {"Arrow", GDALAllRegister, 0};
}

bool isAvailable(const OgrFormat& format) {
    format.registerDriver();
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName(format.driver);
    return driver != nullptr && driver->GetMetadataItem(GDAL_DCAP_CREATE) != nullptr;
}

OgrWriter::OgrWriter(const std::string& file, const std::string& extension, const OgrFormat& format,
                     const ResultSchema& schema)
    : name_(file), format_(format), schema_(schema), file_(file, extension) {
    const GdalErrors errors;
    create();
    // Counting has the table made now: made in the first transaction, it would go when that fails.
    if (layer_ == nullptr || layer_->GetFeatureCount() != 0 ||
        layer_->StartTransaction() != OGRERR_NONE || !errors.first().empty()) {
        close();
        fail(errors);
    }
    rows_.emplace(*layer_, schema_);
}

OgrWriter::~OgrWriter() {
    const GdalErrors quiet;
    close();
}

/// GDAL takes no file that is there already, not even an empty one.
void OgrWriter::create() {
    format_.registerDriver();
    // The file counts only when it is complete, and then PartialFile has it on the disk. (Without
    // any journal, or one in memory, nothing could be read after a commit that failed.)
    const CPLConfigOptionSetter synchronous("OGR_SQLITE_SYNCHRONOUS", "OFF", false);
    const CPLConfigOptionSetter journal("OGR_SQLITE_JOURNAL", "DELETE", false);
    unlink(file_.path().c_str());
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName(format_.driver);
    if (driver == nullptr) {
        return;
    }
    dataset_.reset(driver->Create(file_.path().c_str(), 0, 0, 0, GDT_Unknown, nullptr));
    if (dataset_) {
        layer_ = addLayer(*dataset_, schema_.name, schema_, nullptr);
    }
}

void OgrWriter::write(const ResultBatch& results) {
    for (std::size_t row = 0; row < results.table.size(); ++row) {
        writeRow(results.table, row);
    }
}

void OgrWriter::writeRow(const ResultTable& table, std::size_t row) {
    const GdalErrors errors;
    if (!rows_->write(table, row)) {
        fail(errors);
    }
    ++count_;
    if (count_ - committed_ >= kRowsPerTransaction &&
        (!commit() || layer_->StartTransaction() != OGRERR_NONE)) {
        fail(errors);
    }
}

/// Only a GeoPackage has something to commit: others are written when closed.
void OgrWriter::finish() {
    const GdalErrors errors;
    if (!commit()) {
        fail(errors);
    }
    close();
    if (!errors.first().empty() || !isReadable()) {
        fail(errors);
    }
    file_.complete();
}

std::string OgrWriter::abandon() noexcept {
    const GdalErrors quiet;
    try {
        commit();
        close();
        correctCount();
        const bool isWorthIt = committed_ > 0 || count_ == 0;
        return isWorthIt && isReadable() ? file_.keep() : std::string();
    } catch (const std::exception&) {
        return {};
    }
}

bool OgrWriter::commit() {
    const bool isDone = layer_ != nullptr && layer_->CommitTransaction() == OGRERR_NONE;
    committed_ = isDone ? count_ : committed_;
    return isDone;
}

/// The feature goes first: it leans on the layer's fields.
void OgrWriter::close() {
    rows_.reset();
    layer_ = nullptr;
    dataset_.reset();
}

/// After a commit that failed, GDAL notes down the rows that it was given, not those that are
/// there.
void OgrWriter::correctCount() const {
    if (committed_ == count_) {
        return;
    }
    const GDALDatasetUniquePtr dataset(
        GDALDataset::Open(file_.path().c_str(), GDAL_OF_VECTOR | GDAL_OF_UPDATE));
    if (dataset) {
        const std::string count = std::to_string(committed_);
        dataset->ReleaseResultSet(dataset->ExecuteSQL(
            ("UPDATE gpkg_ogr_contents SET feature_count = " + count).c_str(), nullptr, nullptr));
    }
}

/// A disk that fills up with the very last piece goes unnoticed when the file is closed: is the
/// last feature there?
bool OgrWriter::isReadable() const {
    const GDALDatasetUniquePtr dataset(
        GDALDataset::Open(file_.path().c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY));
    OGRLayer* layer = dataset ? dataset->GetLayer(0) : nullptr;
    if (layer == nullptr || layer->GetFeatureCount() != committed_) {
        return false;
    }
    return committed_ == 0 ||
           OGRFeatureUniquePtr(layer->GetFeature(format_.firstId + committed_ - 1)) != nullptr;
}

void OgrWriter::fail(const GdalErrors& errors) const {
    throw writeFailure(name_, reasonOf(errors));
}

} // namespace program
