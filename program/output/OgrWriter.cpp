#include "program/output/OgrWriter.h"

#include "program/GdalErrors.h"
#include "program/output/writeFailure.h"

#include <algorithm>
#include <ogrsf_frmts.h>
#include <unistd.h>

namespace program {

OgrFormat flatGeobufFormat() {
    return {"FlatGeobuf", RegisterOGRFlatGeobuf};
}

OgrFormat parquetFormat() {
    return {"Parquet", GDALAllRegister};
}

OgrFormat arrowFormat() {
    return {"Arrow", GDALAllRegister};
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
    if (layer_ == nullptr || !errors.first().empty()) {
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
    const GdalErrors errors;
    for (std::size_t row = 0; row < results.table.size(); ++row) {
        if (!rows_->write(results.table, row)) {
            fail(errors);
        }
        ++count_;
    }
}

/// The files are written when closed.
void OgrWriter::finish() {
    const GdalErrors errors;
    close();
    if (!errors.first().empty() || !isWhole()) {
        fail(errors);
    }
    file_.complete();
}

std::string OgrWriter::abandon() noexcept {
    const GdalErrors quiet;
    try {
        close();
        return isWhole() ? file_.keep() : std::string();
    } catch (const std::exception&) {
        return {};
    }
}

/// The feature goes first: it leans on the layer's fields.
void OgrWriter::close() {
    rows_.reset();
    layer_ = nullptr;
    dataset_.reset();
}

/// Features are counted from 0.
bool OgrWriter::isWhole() const {
    return isReadable(file_.path(), count_, count_ - 1);
}

void OgrWriter::fail(const GdalErrors& errors) const {
    throw libraryFailure(name_, errors.first());
}

} // namespace program
