#include "program/gdal/OgrSource.h"

#include "program/Failure.h"
#include "program/Interrupt.h"
#include "program/fileName.h"
#include "program/gdal/GdalErrors.h"
#include "program/gdal/gdalOpening.h"
#include "program/gdal/ogrLayers.h"
#include "program/gdal/ogrText.h"
#include "program/input/gdalDriver.h"
#include "program/shownName.h"

#include <algorithm>
#include <filesystem>
#include <ogr_spatialref.h>
#include <ogrsf_frmts.h>

namespace program {

OgrSource::OgrSource(const InputOptions& options)
    : name_(options.file == "-" ? "standard input" : shownName(options.file)), options_(options),
      fixes_(options) {
    std::error_code ignored;
    const auto status = std::filesystem::status(options.file, ignored);
    repeatable_ = is_regular_file(status) || is_directory(status);
    open();
    findColumns();
    if (hasPlace_) {
        prepareTransformation();
    }
    featureCount_ =
        layer_->TestCapability(OLCFastFeatureCount) != 0 ? layer_->GetFeatureCount(0) : -1;
}

OgrSource::~OgrSource() {
    feature_.reset();
    if (!options_.query.empty() && layer_ != nullptr) {
        const GdalErrors quiet;
        dataset_->ReleaseResultSet(layer_);
    }
}

void OgrSource::open() {
    const bool isTrusted = !options_.gdalDriver.empty();
    const std::string driver = isTrusted ? options_.gdalDriver : gdalDriverOf(options_.file);
    if (driver.empty()) {
        throw Failure(ExitCode::usage,
                      name_ + ": which of GDAL's drivers is to read it? --gdal-driver says it");
    }
    dataset_.reset(openWithGdal(options_.file, driver, isTrusted));
    layer_ = options_.query.empty() ? &chooseLayer(*dataset_, options_.layer, name_) : ask();
}

/// Files are not asked: what SQL may do to them, and with what they say, is beyond what is checked.
OGRLayer* OgrSource::ask() {
    if (isThere(options_.file)) {
        throw Failure(ExitCode::usage, "--query is for databases, not for files");
    }
    const GdalErrors errors;
    OGRLayer* answer = dataset_->ExecuteSQL(options_.query.c_str(), nullptr, nullptr);
    if (answer == nullptr || !errors.first().empty()) {
        fail("the query finds no rows that can be read", errors.first());
    }
    return answer;
}

void OgrSource::findColumns() {
    const GdalErrors errors; // many drivers look into a layer only now
    const auto isColumn = [this](FixField field) {
        return !options_.columns[indexOf(field)].empty();
    };
    hasPlace_ = layer_->GetGeomType() != wkbNone && !isColumn(FixField::latitude) &&
                !isColumn(FixField::longitude);
    OGRFeatureDefn& definition = *layer_->GetLayerDefn();
    std::vector<std::string> names;
    names.reserve(static_cast<std::size_t>(definition.GetFieldCount()));
    for (int i = 0; i < definition.GetFieldCount(); ++i) {
        names.emplace_back(definition.GetFieldDefn(i)->GetNameRef());
    }
    if (!errors.first().empty()) {
        fail(std::string("GDAL cannot read its layer \"") + layer_->GetName() + '"',
             errors.first());
    }
    fixes_.find(names, name_ + ": layer \"" + layer_->GetName() + '"', hasPlace_);
    trackNames_ = trackNames(*dataset_, fixes_.columns().name(FixField::entity));
}

void OgrSource::prepareTransformation() {
    const GdalErrors errors;
    const OGRSpatialReference* source = layer_->GetSpatialRef();
    OGRSpatialReference wgs84;
    wgs84.SetWellKnownGeogCS("WGS84");
    wgs84.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    if (source == nullptr || source->IsSame(&wgs84) != 0) {
        return;
    }
    toWgs84_.reset(OGRCreateCoordinateTransformation(source, &wgs84));
    if (!toWgs84_) {
        fail("there is no way from its coordinates to WGS 84", errors.first());
    }
}

bool OgrSource::next() {
    if (interrupted()) {
        return false;
    }
    const GdalErrors errors;
    feature_.reset(layer_->GetNextFeature());
    if (trouble_.empty()) {
        trouble_ = errors.first();
    }
    if (!feature_ && !trouble_.empty()) {
        fail("it breaks off behind feature " + std::to_string(row_), trouble_);
    }
    if (!feature_) {
        refuseCutOff();
    }
    ++row_;
    return feature_ != nullptr;
}

/// GDAL takes a FlatGeobuf that is cut off before its first feature for an empty one.
void OgrSource::refuseCutOff() const {
    if (row_ == 0 && featureCount_ > 0 && isOfFormat(*dataset_, "FlatGeobuf")) {
        fail("it is cut off: there is none of its " + std::to_string(featureCount_) + " features");
    }
}

std::string OgrSource::read(Fix& fix) {
    const std::string fault = takePlace();
    for (std::size_t i = 0; i < kFixFields; ++i) {
        takeAttribute(static_cast<FixField>(i));
    }
    // Also where the place is bad, since the first time of the input may tell the unit.
    std::string other = fixes_.read(texts_, fix);
    return fault.empty() ? other : fault;
}

std::optional<std::int64_t> OgrSource::readTime() {
    takeAttribute(FixField::time);
    return fixes_.readTime(texts_[indexOf(FixField::time)]);
}

void OgrSource::takeAttribute(FixField field) {
    const std::size_t column = fixes_.columns().index(field);
    if (column == FixColumns::kAbsent) {
        return;
    }
    std::string text = fieldText(*feature_, static_cast<int>(column));
    const auto name = field == FixField::entity ? trackNames_.find(text) : trackNames_.end();
    setText(field, name != trackNames_.end() ? name->second : std::move(text));
}

/// Returns what is wrong, or an empty text.
std::string OgrSource::takePlace() {
    if (!hasPlace_) {
        return {};
    }
    setText(FixField::latitude, {});
    setText(FixField::longitude, {});
    const OGRGeometry* geometry = feature_->GetGeometryRef();
    if (geometry == nullptr || geometry->IsEmpty() != 0) {
        return "the geometry is missing";
    }
    if (wkbFlatten(geometry->getGeometryType()) != wkbPoint) {
        return std::string("the geometry is no point but a ") + geometry->getGeometryName();
    }
    double x = geometry->toPoint()->getX();
    double y = geometry->toPoint()->getY();
    const GdalErrors errors;
    if (toWgs84_ && toWgs84_->Transform(1, &x, &y) == 0) {
        return "the point has no place in WGS 84";
    }
    setText(FixField::latitude, realText(y));
    setText(FixField::longitude, realText(x));
    return {};
}

void OgrSource::setText(FixField field, std::string text) {
    const auto i = indexOf(field);
    values_[i] = std::move(text);
    texts_[i] = values_[i];
}

std::string OgrSource::verbatim() const {
    return featureText(*feature_);
}

void OgrSource::rewind() {
    const GdalErrors errors;
    feature_.reset();
    if (trouble_.empty()) {
        layer_->ResetReading();
    } else { // after an error some drivers have nothing more to give
        open();
    }
    row_ = 0;
    trouble_.clear();
    fixes_.restart();
}

std::optional<double> OgrSource::shareRead() const {
    if (featureCount_ <= 0) {
        return std::nullopt;
    }
    return std::min(static_cast<double>(row_) / static_cast<double>(featureCount_), 1.0);
}

void OgrSource::fail(std::string_view what, const std::string& gdalWords) const {
    throw Failure(ExitCode::broken, gdalSentence(name_, what, gdalWords));
}

void OgrSource::Closing::operator()(GDALDataset* dataset) const {
    const GdalErrors errors;
    GDALClose(GDALDataset::ToHandle(dataset));
}

void OgrSource::Closing::operator()(OGRFeature* feature) const {
    OGRFeature::DestroyFeature(feature);
}

void OgrSource::Closing::operator()(OGRCoordinateTransformation* transformation) const {
    OGRCoordinateTransformation::DestroyCT(transformation);
}

} // namespace program
