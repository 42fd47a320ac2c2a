#include "program/gdal/OgrWriter.h"

#include "program/gdal/GdalErrors.h"
#include "program/output/writeFailure.h"

#include <algorithm>
#include <ogrsf_frmts.h>
#include <unistd.h>

namespace program {

namespace {

constexpr char kByPython[] = "\"python -m qorvel\" writes them, see its --help";

/// Null where there is none.
GDALDriver* driverOf(const OgrFormat& format) {
    format.registerDriver();
    return GetGDALDriverManager()->GetDriverByName(format.driver);
}

} // namespace

OgrFormat flatGeobufFormat() {
    return {"FlatGeobuf", RegisterOGRFlatGeobuf, "name another format"};
}

OgrFormat parquetFormat() {
    return {"Parquet", GDALAllRegister, kByPython};
}

OgrFormat arrowFormat() {
    return {"Arrow", GDALAllRegister, kByPython};
}

bool isAvailable(const OgrFormat& format) {
    return driverOf(format) != nullptr;
}

OgrWriter::OgrWriter(const std::string& file, const std::string& extension, const OgrFormat& format,
                     const ResultSchema& schema)
    : name_(file), format_(format), schema_(schema), file_(file, extension) {
    const GdalErrors errors;
    create();
    expect(layer_ != nullptr && errors.first().empty(), errors);
    rows_.emplace(*layer_, schema_);
}

OgrWriter::~OgrWriter() {
    const GdalErrors quiet;
    close();
}

/// GDAL takes no file that is there already, not even an empty one.
void OgrWriter::create() {
    unlink(file_.path().c_str());
    dataset_.reset(driverOf(format_)->Create(file_.path().c_str(), 0, 0, 0, GDT_Unknown, nullptr));
    if (dataset_) {
        layer_ = addLayer(*dataset_, schema_.name, schema_, nullptr);
    }
}

void OgrWriter::write(const ResultBatch& results) {
    const GdalErrors errors;
    for (std::size_t row = 0; row < results.table.size(); ++row) {
        expect(rows_->write(results.table, row), errors);
        ++count_;
    }
}

/// The files are written when closed.
void OgrWriter::finish() {
    const GdalErrors errors;
    close();
    expect(errors.first().empty() && isWhole(), errors);
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

void OgrWriter::expect(bool holds, const GdalErrors& errors) {
    if (!holds) {
        close();
        throw libraryFailure(name_, errors.first());
    }
}

} // namespace program
