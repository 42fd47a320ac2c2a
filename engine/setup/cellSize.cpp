#include "engine/setup/cellSize.h"

#include "qorvel/base/wgs84.h"
#include "qorvel/geodesy/Ellipsoid.h"

#include <cmath>

namespace qorvel_engine {

CellSize cellSize(std::uint32_t bits, double latitude) {
    const Ellipsoid wgs84(qorvel_detail::kWgs84SemiMajorAxis, qorvel_detail::kWgs84SemiMinorAxis);
    const double metresPerDegree = wgs84.sphereRadius * M_PI / 180.0;
    // The first bit is one of longitude.
    const double height = std::ldexp(180.0, -static_cast<int>(bits / 2));
    const double width = std::ldexp(360.0, -static_cast<int>((bits + 1) / 2));
    return {height, width, height * metresPerDegree,
            width * metresPerDegree * std::cos(latitude * M_PI / 180.0)};
}

} // namespace qorvel_engine
