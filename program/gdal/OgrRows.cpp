#include "program/gdal/OgrRows.h"

#include "program/gdal/GdalErrors.h"
#include "program/output/CellBounds.h"
#include "program/output/jsonText.h"
#include "program/output/valueText.h"

#include <algorithm>
#include <ogrsf_frmts.h>
#include <optional>

namespace program {

namespace {

OGRFieldType typeOf(ResultKind kind) {
    switch (kind) {
    case ResultKind::entity:
    case ResultKind::text:
        return OFTString;
    case ResultKind::whole:
        return OFTInteger64;
    case ResultKind::degrees:
    case ResultKind::metres:
    case ResultKind::hours:
        return OFTReal;
    case ResultKind::time:
    case ResultKind::boxEnd:
        return OFTDateTime;
    }
    return OFTString;
}

/// Longitude first, as everywhere here.
OGRSpatialReference wgs84() {
    OGRSpatialReference reference;
    reference.SetWellKnownGeogCS("WGS84");
    reference.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    return reference;
}

/// A closed ring, counter-clockwise.
std::unique_ptr<OGRPolygon> polygonOf(const SpaceBox& cell) {
    const CellBounds bounds = cellBounds(cell);
    auto ring = std::make_unique<OGRLinearRing>();
    ring->addPoint(bounds.west, bounds.south);
    ring->addPoint(bounds.east, bounds.south);
    ring->addPoint(bounds.east, bounds.north);
    ring->addPoint(bounds.west, bounds.north);
    ring->addPoint(bounds.west, bounds.south);
    auto polygon = std::make_unique<OGRPolygon>();
    polygon->addRingDirectly(ring.release());
    return polygon;
}

std::unique_ptr<OGRGeometry> shapeOf(const ResultTable& table, std::size_t row) {
    const std::optional<SpaceBox> cell = table.cell(row);
    return cell ? polygonOf(*cell) : nullptr;
}

} // namespace

OGRLayer* addLayer(GDALDataset& dataset, const std::string& name, const ResultSchema& schema,
                   char** options) {
    OGRSpatialReference reference = wgs84();
    OGRLayer* layer = dataset.CreateLayer(name.c_str(), &reference, wkbPolygon, options);
    const auto add = [layer](const ResultColumn& column) {
        OGRFieldDefn field(column.name.c_str(), typeOf(column.kind));
        return layer->CreateField(&field) == OGRERR_NONE;
    };
    const bool isMade =
        layer != nullptr && std::all_of(schema.columns.begin(), schema.columns.end(), add);
    return isMade ? layer : nullptr;
}

bool isReadable(const std::string& file, std::int64_t count, std::int64_t lastId) {
    const GdalErrors quiet;
    const GDALDatasetUniquePtr dataset(
        GDALDataset::Open(file.c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY));
    OGRLayer* layer = dataset ? dataset->GetLayer(0) : nullptr;
    return layer != nullptr && layer->GetFeatureCount() == count &&
           (count == 0 || OGRFeatureUniquePtr(layer->GetFeature(lastId)) != nullptr);
}

std::string fieldText(std::string_view text) {
    std::string field = asUtf8(text);
    for (std::size_t at = field.find('\0'); at != std::string::npos; at = field.find('\0', at)) {
        field.replace(at, 1, "\xEF\xBF\xBD");
    }
    return field;
}

OgrRows::OgrRows(OGRLayer& layer, const ResultSchema& schema)
    : layer_(layer), schema_(schema), feature_(OGRFeature::CreateFeature(layer.GetLayerDefn())) {}

bool OgrRows::write(const ResultTable& table, std::size_t row) {
    feature_->SetFID(OGRNullFID);
    for (std::size_t column = 0; column < schema_.columns.size(); ++column) {
        setField(table, row, column);
    }
    feature_->SetGeometryDirectly(shapeOf(table, row).release());
    return layer_.CreateFeature(feature_.get()) == OGRERR_NONE;
}

void OgrRows::setField(const ResultTable& table, std::size_t row, std::size_t column) {
    const int index = static_cast<int>(column);
    const ResultKind kind = schema_.columns[column].kind;
    if (isMissing(table, row, column)) {
        feature_->SetFieldNull(index);
    } else if (isText(kind)) {
        feature_->SetField(index, fieldText(textOf(table, row, column)).c_str());
    } else if (isTime(kind)) {
        setTime(index, table.whole(row, column));
    } else if (kind == ResultKind::whole) {
        feature_->SetField(index, static_cast<GIntBig>(table.whole(row, column)));
    } else {
        feature_->SetField(index, table.real(row, column));
    }
}

/// GDAL reads what appendTime prints, but for years with a sign.
void OgrRows::setTime(int index, std::int64_t time) {
    std::string text;
    appendTime(text, time);
    if (text.front() == '+' || text.front() == '-') {
        feature_->SetFieldNull(index);
    } else {
        feature_->SetField(index, text.c_str());
    }
}

void OgrRows::Ending::operator()(OGRFeature* feature) const {
    OGRFeature::DestroyFeature(feature);
}

} // namespace program
