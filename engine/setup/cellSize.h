#ifndef QORVEL_ENGINE_SETUP_CELLSIZE_H
#define QORVEL_ENGINE_SETUP_CELLSIZE_H

#include "engine/export.h"

#include <cstdint>

namespace qorvel_engine {

/// How far a cell extends.
struct CellSize {
    double latitudeDegrees;
    double longitudeDegrees;
    double heightMetres;
    double widthMetres;
};

/// Of a cell with that many bits whose middle is at that latitude (degrees), along the meridian and
/// the parallel of the library's sphere.
QORVEL_ENGINE_EXPORT CellSize cellSize(std::uint32_t bits, double latitude);

} // namespace qorvel_engine

#endif
