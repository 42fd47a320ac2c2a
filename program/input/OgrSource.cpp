#include "program/input/OgrSource.h"

#include "program/Failure.h"
#include "program/GdalErrors.h"
#include "program/Interrupt.h"
#include "program/input/gdalOpening.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cpl_conv.h>
#include <cpl_json.h>
#include <cstdio>
#include <filesystem>
#include <ogr_spatialref.h>
#include <ogrsf_frmts.h>

namespace program {

namespace {

/// Layers of a GPX file by whose features a track or route is told apart, and where its name is.
struct TrackLayer {
    const char* points;
    const char* tracks;
    const char* number;
};
constexpr TrackLayer kTrackLayers[] = {{"track_points", "tracks", "track_fid"},
                                       {"route_points", "routes", "route_fid"}};

bool isPointLayer(OGRLayer& layer) {
    const OGRwkbGeometryType type = wkbFlatten(layer.GetGeomType());
    return type == wkbPoint || type == wkbUnknown;
}

bool isOfFormat(GDALDataset& dataset, std::string_view format) {
    return dataset.GetDriver()->GetDescription() == format;
}

std::string layerNames(GDALDataset& dataset) {
    std::string names;
    for (OGRLayer* layer : dataset.GetLayers()) {
        names += (names.empty() ? "" : ", ") + std::string(layer->GetName());
    }
    return names.empty() ? "none" : names;
}

bool hasFeatures(OGRLayer& layer) {
    layer.ResetReading();
    const OGRFeatureUniquePtr first(layer.GetNextFeature());
    layer.ResetReading();
    return first != nullptr;
}

/// All digits it takes to get the same number back, and never an exponent.
std::string realText(double value) {
    char digits[1100]; // the smallest number there is has 1074 decimals
    const auto end = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed);
    return {digits, end.ptr};
}

/// Of GDAL's flag: 100 is UTC, each step a quarter of an hour east of it; 0 and 1 say nothing.
std::string offsetText(int flag) {
    if (flag <= 1) {
        return {};
    }
    const int minutes = (flag - 100) * 15;
    char text[16];
    std::snprintf(text, sizeof text, "%c%02d:%02d", minutes < 0 ? '-' : '+',
                  std::abs(minutes) / 60 % 100, std::abs(minutes) % 60);
    return text;
}

std::string timeText(const OGRFeature& feature, int field) {
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    float second = 0;
    int flag = 0;
    feature.GetFieldAsDateTime(field, &year, &month, &day, &hour, &minute, &second, &flag);
    // GDAL keeps seconds in 32 bits of floating point: rounding gives back what was read.
    const long ms = std::lround(static_cast<double>(second) * 1000.0);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02ld.%03ld", year, month, day, hour,
                  minute, ms / 1000, ms % 1000);
    return text + offsetText(flag);
}

std::string fieldText(const OGRFeature& feature, int field) {
    if (!feature.IsFieldSetAndNotNull(field)) {
        return {};
    }
    switch (feature.GetFieldDefnRef(field)->GetType()) {
    case OFTDate:
    case OFTDateTime:
        return timeText(feature, field);
    case OFTReal:
        return realText(feature.GetFieldAsDouble(field));
    default:
        return feature.GetFieldAsString(field);
    }
}

void addProperty(CPLJSONObject& properties, const OGRFeature& feature, int field) {
    const char* name = feature.GetFieldDefnRef(field)->GetNameRef();
    const OGRFieldType type = feature.GetFieldDefnRef(field)->GetType();
    if (!feature.IsFieldSetAndNotNull(field)) {
        properties.AddNull(name);
    } else if (type == OFTInteger || type == OFTInteger64) {
        properties.Add(name, feature.GetFieldAsInteger64(field));
    } else if (type == OFTReal && std::isfinite(feature.GetFieldAsDouble(field))) {
        properties.Add(name, feature.GetFieldAsDouble(field));
    } else {
        properties.Add(name, fieldText(feature, field));
    }
}

void addGeometry(CPLJSONObject& json, const OGRFeature& feature) {
    const OGRGeometry* geometry = feature.GetGeometryRef();
    char* text = geometry != nullptr ? geometry->exportToJson() : nullptr;
    CPLJSONDocument document;
    if (text != nullptr && document.LoadMemory(text)) {
        json.Add("geometry", document.GetRoot());
    } else {
        json.AddNull("geometry");
    }
    CPLFree(text);
}

} // namespace

OgrSource::OgrSource(const InputOptions& options)
    : name_(options.file == "-" ? "standard input" : options.file), options_(options),
      fixes_(options) {
    std::error_code ignored;
    const auto status = std::filesystem::status(options.file, ignored);
    repeatable_ = is_regular_file(status) || is_directory(status);
    open();
    layer_ = chooseLayer(); // NOLINT(cppcoreguidelines-prefer-member-initializer): it is open now
    findColumns();
    if (hasPlace_) {
        prepareTransformation();
    }
    featureCount_ =
        layer_->TestCapability(OLCFastFeatureCount) != 0 ? layer_->GetFeatureCount(0) : -1;
}

OgrSource::~OgrSource() = default;

void OgrSource::open() {
    const bool isTrusted = !options_.gdalDriver.empty();
    const std::string driver = isTrusted ? options_.gdalDriver : gdalDriverOf(options_.file);
    if (driver.empty()) {
        throw Failure(ExitCode::usage,
                      name_ + ": which of GDAL's drivers is to read it? --gdal-driver says it");
    }
    dataset_.reset(openWithGdal(options_.file, driver, isTrusted));
}

OGRLayer* OgrSource::chooseLayer() {
    const GdalErrors errors;
    if (!options_.layer.empty()) {
        OGRLayer* named = dataset_->GetLayerByName(options_.layer.c_str());
        if (named == nullptr) {
            fail("no layer \"" + options_.layer + "\"; the layers are " + layerNames(*dataset_));
        }
        return named;
    }
    OGRLayer* chosen = dataset_->GetLayerCount() == 1 ? dataset_->GetLayer(0) : firstWithPoints();
    if (chosen == nullptr) {
        fail("no layer has points; the layers are " + layerNames(*dataset_), errors.first());
    }
    return chosen;
}

OGRLayer* OgrSource::firstWithPoints() {
    std::vector<OGRLayer*> layers;
    for (const TrackLayer& kind : kTrackLayers) {
        layers.push_back(isOfFormat(*dataset_, "GPX") ? dataset_->GetLayerByName(kind.points)
                                                      : nullptr);
    }
    for (OGRLayer* layer : dataset_->GetLayers()) {
        layers.push_back(isPointLayer(*layer) ? layer : nullptr);
    }
    const auto found = std::find_if(layers.begin(), layers.end(), [](OGRLayer* layer) {
        return layer != nullptr && hasFeatures(*layer);
    });
    return found != layers.end() ? *found : nullptr;
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
    for (const TrackLayer& kind : kTrackLayers) {
        if (isOfFormat(*dataset_, "GPX") &&
            fixes_.columns().name(FixField::entity) == kind.number) {
            readTrackNames(kind.tracks);
        }
    }
}

void OgrSource::readTrackNames(const char* layerName) {
    const GdalErrors errors; // a file that is broken there is broken for its points too
    OGRLayer* tracks = dataset_->GetLayerByName(layerName);
    while (tracks != nullptr) {
        const OGRFeatureUniquePtr track(tracks->GetNextFeature());
        if (!track) {
            return;
        }
        const int name = track->GetFieldIndex("name");
        if (name >= 0 && track->IsFieldSetAndNotNull(name)) {
            trackNames_[std::to_string(track->GetFID())] = track->GetFieldAsString(name);
        }
    }
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
    CPLJSONObject json;
    json.Add("type", "Feature");
    json.Add("id", static_cast<GInt64>(feature_->GetFID()));
    addGeometry(json, *feature_);
    CPLJSONObject properties;
    for (int field = 0; field < feature_->GetFieldCount(); ++field) {
        addProperty(properties, *feature_, field);
    }
    json.Add("properties", properties);
    return json.Format(CPLJSONObject::PrettyFormat::Plain);
}

void OgrSource::rewind() {
    const GdalErrors errors;
    feature_.reset();
    if (trouble_.empty()) {
        layer_->ResetReading();
    } else { // after an error some drivers have nothing more to give
        open();
        layer_ = chooseLayer();
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
