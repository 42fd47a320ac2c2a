#include "tools/setup/cellSize.h"

#include "qorvel/geodesy/Ellipsoid.h"

#include <cmath>

namespace host {

CellSize cellSize(std::uint32_t bits, double latitude) {
    const Ellipsoid wgs84(6378137.0, 6356752.314245);
    const double metresPerDegree = wgs84.sphereRadius * M_PI / 180.0;
    // The first bit is one of longitude.
    const double height = std::ldexp(180.0, -static_cast<int>(bits / 2));
    const double width = std::ldexp(360.0, -static_cast<int>((bits + 1) / 2));
    return {height, width, height * metresPerDegree,
            width * metresPerDegree * std::cos(latitude * M_PI / 180.0)};
}

} // namespace host
