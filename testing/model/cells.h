#ifndef QORVEL_TESTING_MODEL_CELLS_H
#define QORVEL_TESTING_MODEL_CELLS_H

#include "qorvel/base/bits.h"
#include "qorvel/geohash/SpaceBox.h"
#include "qorvel/geohash/UtilG2.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>

/// The cells near a point, once more and step by step: nothing is computed once and kept, and every
/// neighbour is made before it is asked for.
namespace model {

using CellArray = std::array<SpaceBox, UtilG2::_NUM_NEAREST_NEIGHBORS>;

/// The 64-bit code of a coordinate in [-1, 1).
inline bool encode(double x, std::uint64_t& code) {
    constexpr std::uint64_t half = std::uint64_t{1} << 63U;
    constexpr std::uint64_t implicitBit = std::uint64_t{1} << 52U;
    code = 0;
    if (x < -1.0 || x >= 1.0) {
        return false;
    }
    const auto bits = std::bit_cast<std::uint64_t>(x);
    const auto exponent = static_cast<std::uint32_t>((bits >> 52U) & 0x7FFU);
    const std::uint64_t mantissa = (bits & (implicitBit - 1)) | implicitBit;
    if (exponent == 0) {
        code = half;
    } else if (exponent != 0x7FF) {
        const std::uint64_t size = exponent > 1012
                                       ? qorvel_detail::shiftLeft(mantissa, exponent - 1012)
                                       : qorvel_detail::shiftRight(mantissa, 1012 - exponent);
        code = std::signbit(x) ? half - size : size - half;
    }
    return true;
}

/// Bit k of a byte becomes bit 2k.
inline std::uint64_t spread(std::uint64_t byte) {
    static const auto table = [] {
        std::array<std::uint64_t, 256> made{};
        for (std::size_t value = 0; value < made.size(); ++value) {
            for (std::uint32_t bit = 0; bit < 8; ++bit) {
                made[value] |= std::uint64_t{(value >> bit) & 1U} << (2 * bit);
            }
        }
        return made;
    }();
    return table[byte & 0xFFU];
}

inline SpaceBox cellOf(std::uint64_t latCode, std::uint64_t lonCode, std::uint32_t depth) {
    std::array<std::uint64_t, 2> words{};
    for (std::uint32_t i = 0; i < 8; ++i) {
        const std::uint32_t shift = 56 - 8 * i;
        const std::uint64_t chunk = spread(lonCode >> shift) * 2 + spread(latCode >> shift);
        words[i / 4] = (words[i / 4] << 16U) | chunk;
    }
    return {words[0], words[1], depth};
}

inline bool pointToSpaceBox(double latitude, double longitude, SpaceBox& box) {
    std::uint64_t latCode = 0;
    std::uint64_t lonCode = 0;
    const bool latKnown = encode(latitude / 90.0, latCode);
    const bool lonKnown = encode(longitude / 180.0, lonCode);
    if (latKnown && lonKnown) {
        box = cellOf(latCode, lonCode, 128);
    }
    return latKnown && lonKnown;
}

/// Metres from a point to the edges of its cell, and whether a circle reaches one of them.
struct Edges {
    double east;
    double north;
    double west;
    double south;

    Edges(std::uint64_t latCode, std::uint64_t lonCode, double latitude, std::uint32_t bits) {
        constexpr double pi = 3.14159265358979323846;
        constexpr double radius = 6378137.0; // metres
        const double parallelRadius = radius * std::cos(latitude * pi / 180.0);
        const auto low = [bits](std::uint64_t code) {
            return qorvel_detail::shiftLeft(qorvel_detail::shiftRight(code, 64 - bits), 64 - bits);
        };
        const auto high = [bits](std::uint64_t code) {
            return qorvel_detail::shiftLeft(qorvel_detail::shiftRight(code, 64 - bits) + 1,
                                            64 - bits);
        };
        const auto lonDistance = [parallelRadius](std::uint64_t from, std::uint64_t to) {
            const std::uint64_t delta =
                qorvel_detail::magnitude(static_cast<std::int64_t>(to - from));
            return static_cast<double>(2 * delta) * pi * parallelRadius / 0x1p64;
        };
        const auto latDistance = [](std::uint64_t from, std::uint64_t to) {
            const std::uint64_t delta =
                qorvel_detail::magnitude(static_cast<std::int64_t>(to - from));
            return static_cast<double>(delta) * pi * radius / 0x1p64;
        };
        east = lonDistance(lonCode, high(lonCode));
        north = latDistance(latCode, high(latCode));
        west = lonDistance(lonCode, low(lonCode));
        south = latDistance(latCode, low(latCode));
    }

    bool reachedBy(double distance) const {
        return distance >= std::min({east, north, west, south});
    }
};

/// The point's own cell at the depth asked for, and the neighbours, at the even depth, that a
/// square about the point reaches. The count stays 0 where the point cannot be encoded.
inline void pointToSpaceBoxes(double latitude, double longitude, std::uint32_t depth,
                              double distance, CellArray& boxes, std::uint32_t& count) {
    count = 0;
    std::uint64_t latCode = 0;
    std::uint64_t lonCode = 0;
    const bool latKnown = encode(latitude / 90.0, latCode);
    const bool lonKnown = encode(longitude / 180.0, lonCode);
    if (!latKnown || !lonKnown) {
        return;
    }
    boxes[count++] = cellOf(latCode, lonCode, depth);
    if (distance <= 0.0) {
        return;
    }
    const std::uint32_t half = depth / 2;
    const Edges edges(latCode, lonCode, latitude, half);
    if (!edges.reachedBy(distance)) {
        return;
    }
    CellArray neighbours; // in rows from south to north, in a row from west to east
    for (std::uint32_t row = 0; row < 3; ++row) {
        for (std::uint32_t column = 0; column < 3; ++column) {
            const std::uint64_t latCell = qorvel_detail::shiftRight(latCode, 64 - half) + row - 1;
            const std::uint64_t lonCell =
                qorvel_detail::shiftRight(lonCode, 64 - half) + column - 1;
            neighbours[3 * row + column] =
                cellOf(qorvel_detail::shiftLeft(latCell, 64 - half),
                       qorvel_detail::shiftLeft(lonCell, 64 - half), 2 * half);
        }
    }
    const bool east = distance > edges.east;
    const bool north = distance > edges.north;
    const bool west = distance > edges.west;
    const bool south = distance > edges.south;
    const auto append = [&](bool reached, std::uint32_t position) {
        if (reached) {
            boxes[count++] = neighbours[position];
        }
    };
    append(east, 5);
    append(north, 7);
    append(west, 3);
    append(south, 1);
    append(east && south, 2);
    append(east && north, 8);
    append(west && north, 6);
    append(west && south, 0);
}

} // namespace model

#endif
