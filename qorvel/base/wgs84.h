#ifndef QORVEL_BASE_WGS84_H
#define QORVEL_BASE_WGS84_H

namespace qorvel_detail {

/// The axes of the ellipsoid WGS-84 (World Geodetic System 1984), metres.
inline constexpr double kWgs84SemiMajorAxis = 6378137.0;
inline constexpr double kWgs84SemiMinorAxis = 6356752.314245;

} // namespace qorvel_detail

#endif
