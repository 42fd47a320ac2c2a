#ifndef QORVEL_TOOLS_SETUP_CELLSIZE_H
#define QORVEL_TOOLS_SETUP_CELLSIZE_H

#include <cstdint>

namespace host {

/// How far a cell extends.
struct CellSize {
    double latitudeDegrees;
    double longitudeDegrees;
    double heightMetres;
    double widthMetres;
};

/// Of a cell with that many bits whose middle is at that latitude (degrees), along the meridian and
/// the parallel of the library's sphere.
CellSize cellSize(std::uint32_t bits, double latitude);

} // namespace host

#endif
