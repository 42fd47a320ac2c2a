#ifndef QORVEL_PROGRAM_INPUT_POINTTEXT_H
#define QORVEL_PROGRAM_INPUT_POINTTEXT_H

#include <string_view>

namespace program {

/// Reads a point from WKT, "POINT (8.54 47.37)", also behind "SRID=4326;", or from a GeoJSON
/// geometry. A height and a measure are dropped. Returns null, or what is wrong, in words that go
/// on from the name of the column; then nothing is set. Whether the degrees can be is not asked.
const char* readPoint(std::string_view text, double& longitude, double& latitude);

} // namespace program

#endif
