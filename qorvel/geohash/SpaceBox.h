#ifndef QORVEL_GEOHASH_SPACEBOX_H
#define QORVEL_GEOHASH_SPACEBOX_H

#include "qorvel/config.h"

#include <cstdint>
#include <sstream>
#include <string>

QORVEL_BEGIN_NAMESPACE

/// A cell of the earth: the first `depth` bits of a geohash.
///
/// The bits halve the earth in turn by longitude and by latitude, a longitude bit first, most
/// significant bit first; a set bit means the eastern or northern half. A cell at depth 0 is the
/// whole earth, one at depth 128 about 1e-12 m wide. A box made from coordinates carries all 128
/// bits whatever its depth; every operation ignores the bits beyond the depth that it is asked
/// about. UtilG2 converts from coordinates and text.
///
/// Depths above 128 are invalid, see isValid; their boxes can be compared, hashed and printed all
/// the same. Any thread may call any operation at any time; of one box as usual, not while another
/// changes it. Those that take or return a string allocate, and throw std::bad_alloc when memory
/// runs out.
class QORVEL_EXPORT SpaceBox {
public:
    /// The whole earth: depth 0, both words 0.
    SpaceBox();

    /// The cell of a point in degrees, latitude in [-90, 90) and longitude in [-180, 180). Out of
    /// range, the box is the default one. See UtilG2::pointToSpaceBox.
    SpaceBox(const double& lat, const double& lon, const std::uint32_t& depth);

    /// The three values as given, nothing checked or masked: `first` holds bits 1 to 64, bit 1 at
    /// the top, and `second` bits 65 to 128.
    SpaceBox(const std::uint64_t& first, const std::uint64_t& second, const std::uint32_t& depth);

    /// The cell of a geohash text. A text that cannot be parsed gives a box that isValid rejects,
    /// see UtilG2::stringToSpaceBox. Not explicit: a text stands for its cell.
    SpaceBox(const std::string& geohash);

    /// Copies the depth and all 128 bits, those beyond the depth included.
    SpaceBox(const SpaceBox& other);
    /// As copying.
    SpaceBox& operator=(const SpaceBox& other);
    virtual ~SpaceBox();

    /// Bits 1 to 64, those beyond the depth included.
    std::uint64_t getFirst64Bits() const;

    /// Bits 65 to 128, those beyond the depth included.
    std::uint64_t getSecond64Bits() const;

    /// How many bits count: 0 to 128 in a valid box; 4294967295 marks text that is no geohash.
    std::uint32_t getGeoHashBitDepth() const;

    /// Makes the cell coarser or finer in place; the bits stay as they are.
    void setGeoHashBitDepth(const std::uint32_t& depth);

    /// Do both boxes have the same first `depth` bits? Their own depths play no part. Always true
    /// at depth 0. Above 128 the number of ignored low bits of the second word is 128 - depth
    /// modulo 64.
    bool equals(const SpaceBox& other, const std::uint32_t& depth) const;

    /// Same depth and same bits up to it.
    bool operator==(const SpaceBox& other) const;

    /// The exclusive or of both words without the bits beyond the depth; 0 at depth 0. Equal boxes
    /// hash equally.
    std::uint64_t hashCode() const;

    /// The geohash text, exactly as UtilG2::spaceBoxToString gives it.
    std::string toASCIIString() const;

    /// Appends to `errors` "ERROR_SPACEBOX_1," when the depth is 4294967295 and "ERROR_SPACEBOX_2,"
    /// when it is above 128, in this order. True when neither holds.
    bool isValid(std::stringstream& errors) const;

    /// UtilG2::pointToSpaceBoxes with the same arguments. Always true, since it is the count that
    /// tells: where the point has no cell nothing is written, so set `count` to 0 before.
    static bool getNearSpaceBoxes(const double& lat, const double& lon, const std::uint32_t& depth,
                                  const double& distance, SpaceBox* boxes, std::uint32_t& count);

private:
    std::uint32_t geoHashBitDepth_;
    std::uint64_t first64Bits_;
    std::uint64_t second64Bits_;
};

QORVEL_END_NAMESPACE

#endif
