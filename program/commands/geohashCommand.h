#ifndef QORVEL_PROGRAM_COMMANDS_GEOHASHCOMMAND_H
#define QORVEL_PROGRAM_COMMANDS_GEOHASHCOMMAND_H

#include "program/Failure.h"

#include <cstdint>
#include <string>

namespace program {

struct GeohashOptions {
    enum class Task { encode, decode, neighbours, centroid };

    Task task = Task::decode;
    double latitude = 0.0;   ///< degrees, to be encoded
    double longitude = 0.0;  ///< the same
    std::uint32_t bits = 30; ///< of the cell, 0 to 128; five of them a character
    std::string text;        ///< a geohash, for all but encode
    bool isByLine = false;   ///< what is asked about stands in standard input
};

/// The answer as lines of CSV; only decode has a header.
///
/// encode: the geohash. decode: geohash, bits, centre, edges, size in metres. neighbours: three
/// lines of three geohashes as on a map, the middle one the cell itself; empty beyond a pole.
/// centroid: latitude and longitude.
///
/// Throws Failure(usage) for a text that is no geohash, or a point that no cell holds.
std::string answerGeohash(const GeohashOptions& options);

/// Prints that. By line, each line of standard input is a geohash, or the latitude and longitude of
/// a point with a comma, semicolon, tab, bar or blank between them, and has its line of the answer.
/// That is empty for what answerGeohash would throw at, which is told; the rest is answered all the
/// same.
ExitCode runGeohash(const GeohashOptions& options);

} // namespace program

#endif
