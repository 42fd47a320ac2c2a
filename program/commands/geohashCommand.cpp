#include "program/commands/geohashCommand.h"

#include "engine/setup/Config.h"
#include "engine/setup/cellSize.h"
#include "engine/setup/numberText.h"
#include "program/engineNames.h"
#include "program/output/CellBounds.h"
#include "program/output/TextFile.h"

#include "qorvel/qorvel.h"

#include <cmath>
#include <optional>
#include <sstream>

namespace program {

namespace {

constexpr std::uint32_t kMostBits = 128;
constexpr std::size_t kLongestWithNeighbours = 12; ///< characters; then doubles become too coarse

Failure refusal(const std::string& sentence) {
    return {ExitCode::usage, sentence};
}

SpaceBox readCell(const std::string& text) {
    const std::optional<ConfigFault> fault = judgeGeohash(text);
    if (fault && !text.empty()) {
        throw refusal(fault->sentence + (fault->isError ? " [" + fault->tags + "]" : ""));
    }
    return text;
}

struct Centre {
    explicit Centre(const SpaceBox& cell) {
        std::stringstream errors; // asked for by the library, never written
        QorvelMotionProcessorAPI::getCentroid(cell, latitude, longitude, errors);
    }

    std::string text() const { return numberText(latitude) + ',' + numberText(longitude); }

    double latitude = 0.0;
    double longitude = 0.0;
};

std::string encode(const GeohashOptions& options) {
    if (options.bits > kMostBits) {
        throw refusal("a cell has 0 to 128 bits, which are up to 25 characters");
    }
    SpaceBox cell;
    if (std::isnan(options.latitude) || std::isnan(options.longitude) ||
        !UtilG2::pointToSpaceBox(options.latitude, options.longitude, options.bits, cell)) {
        throw refusal("no cell holds " + numberText(options.latitude) + ", " +
                      numberText(options.longitude) +
                      ": latitude is -90 to below 90, longitude -180 to below 180 degrees");
    }
    return cell.toASCIIString() + '\n';
}

std::string decode(const SpaceBox& cell) {
    const CellBounds bounds = cellBounds(cell);
    const Centre centre(cell);
    const CellSize size = cellSize(cell.getGeoHashBitDepth(), centre.latitude);
    std::string text = "geohash,bits,lat,lon,south,west,north,east,height_m,width_m\n" +
                       cell.toASCIIString() + ',' + std::to_string(cell.getGeoHashBitDepth()) +
                       ',' + centre.text();
    for (const double side : {bounds.south, bounds.west, bounds.north, bounds.east}) {
        text += ',' + numberText(side);
    }
    return text + ',' + roundedText(size.heightMetres) + ',' + roundedText(size.widthMetres) + '\n';
}

/// The cell of the same size that many cells to the north and east; none beyond a pole.
std::string neighbour(const SpaceBox& cell, int north, int east) {
    const Centre centre(cell);
    const CellSize size = cellSize(cell.getGeoHashBitDepth(), centre.latitude);
    double longitude = centre.longitude + east * size.longitudeDegrees;
    longitude += longitude < -180.0 ? 360.0 : longitude >= 180.0 ? -360.0 : 0.0;
    SpaceBox found;
    return UtilG2::pointToSpaceBox(centre.latitude + north * size.latitudeDegrees, longitude,
                                   cell.getGeoHashBitDepth(), found)
               ? found.toASCIIString()
               : "";
}

std::string neighbours(const SpaceBox& cell) {
    if (cell.getGeoHashBitDepth() > UtilG2::_BITS_PER_GEOHASH_CHAR * kLongestWithNeighbours) {
        throw refusal("neighbours are told of geohashes of up to 12 characters");
    }
    std::string text;
    for (const int north : {1, 0, -1}) {
        for (const int east : {-1, 0, 1}) {
            text += neighbour(cell, north, east) + (east < 1 ? ',' : '\n');
        }
    }
    return text;
}

} // namespace

std::string answerGeohash(const GeohashOptions& options) {
    switch (options.task) {
    case GeohashOptions::Task::encode:
        return encode(options);
    case GeohashOptions::Task::decode:
        return decode(readCell(options.text));
    case GeohashOptions::Task::neighbours:
        return neighbours(readCell(options.text));
    default:
        return Centre(readCell(options.text)).text() + '\n';
    }
}

ExitCode runGeohash(const GeohashOptions& options) {
    TextFile output("-", "");
    output.write(answerGeohash(options));
    output.finish();
    return ExitCode::done;
}

} // namespace program
