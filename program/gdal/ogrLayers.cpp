#include "program/gdal/ogrLayers.h"

#include "program/Failure.h"
#include "program/gdal/GdalErrors.h"
#include "program/gdal/gdalOpening.h"

#include <algorithm>
#include <ogrsf_frmts.h>
#include <vector>

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

OGRLayer* firstWithPoints(GDALDataset& dataset) {
    std::vector<OGRLayer*> layers;
    for (const TrackLayer& kind : kTrackLayers) {
        layers.push_back(isOfFormat(dataset, "GPX") ? dataset.GetLayerByName(kind.points)
                                                    : nullptr);
    }
    for (OGRLayer* layer : dataset.GetLayers()) {
        layers.push_back(isPointLayer(*layer) ? layer : nullptr);
    }
    const auto found = std::find_if(layers.begin(), layers.end(), [](OGRLayer* layer) {
        return layer != nullptr && hasFeatures(*layer);
    });
    return found != layers.end() ? *found : nullptr;
}

} // namespace

bool isOfFormat(GDALDataset& dataset, std::string_view format) {
    return dataset.GetDriver()->GetDescription() == format;
}

OGRLayer& chooseLayer(GDALDataset& dataset, const std::string& wanted, const std::string& input) {
    const GdalErrors errors;
    const auto refuse = [&](const std::string& what) {
        throw Failure(
            ExitCode::broken,
            gdalSentence(input, what + "; the layers are " + layerNames(dataset), errors.first()));
    };
    OGRLayer* layer = nullptr;
    if (!wanted.empty()) {
        layer = dataset.GetLayerByName(wanted.c_str());
    } else {
        layer = dataset.GetLayerCount() == 1 ? dataset.GetLayer(0) : firstWithPoints(dataset);
    }
    if (layer == nullptr) {
        refuse(wanted.empty() ? "no layer has points" : "no layer \"" + wanted + '"');
    }
    return *layer;
}

std::unordered_map<std::string, std::string> trackNames(GDALDataset& dataset,
                                                        std::string_view column) {
    const auto* kind =
        std::find_if(std::begin(kTrackLayers), std::end(kTrackLayers),
                     [column](const TrackLayer& layer) { return column == layer.number; });
    std::unordered_map<std::string, std::string> names;
    if (kind == std::end(kTrackLayers) || !isOfFormat(dataset, "GPX")) {
        return names;
    }
    const GdalErrors errors; // a file that is broken there is broken for its points too
    OGRLayer* tracks = dataset.GetLayerByName(kind->tracks);
    while (tracks != nullptr) {
        const OGRFeatureUniquePtr track(tracks->GetNextFeature());
        if (!track) {
            break;
        }
        const int name = track->GetFieldIndex("name");
        if (name >= 0 && track->IsFieldSetAndNotNull(name)) {
            names[std::to_string(track->GetFID())] = track->GetFieldAsString(name);
        }
    }
    return names;
}

} // namespace program
