#ifndef QORVEL_GEOHASH_UTILG2_H
#define QORVEL_GEOHASH_UTILG2_H

#include "qorvel/config.h"

#include <cstdint>
#include <string>

QORVEL_BEGIN_NAMESPACE

class SpaceBox;

/// Static functions around cells: coordinates and geohash text to cells and back, the cells near a
/// point, and nearness of two points. Degrees and metres throughout.
///
/// Results depend on the arguments alone, on any thread at any time. The first question about a
/// distance in a process sets up the ellipsoid, and threads that ask meanwhile wait for it. Nothing
/// throws except std::bad_alloc, there and where a string is made.
class QORVEL_EXPORT UtilG2 {
public:
    /// Bits in one character of a geohash.
    static const std::uint32_t _BITS_PER_GEOHASH_CHAR = 5;

    /// The longest geohash text that is parsed, in characters.
    static const std::uint32_t _MAX_GEOHASHSTRING_LENGTH = 26;

    /// For hosts; no function reads it.
    static const std::uint32_t _MAX_INTERLEAVED_LENGTH = 9;

    /// The most boxes that pointToSpaceBoxes writes: the own cell and its eight neighbours.
    static const std::uint32_t _NUM_NEAREST_NEIGHBORS = 9;

    /// The cell of a point at `depth` bits (not checked), with all 128 bits filled. False, and
    /// `box` as it was, when latitude is outside [-90, 90) or longitude outside [-180, 180): 90 and
    /// 180 belong to no cell. NaN is taken for the lower end of its range.
    static bool pointToSpaceBox(const double& lat, const double& lon, const std::uint32_t& depth,
                                SpaceBox& box);

    /// The same at depth 128.
    static bool pointToSpaceBox(const double& lat, const double& lon, SpaceBox& box);

    /// Parses geohash text: base 32 with the alphabet "0123456789bcdefghjkmnpqrstuvwxyz", capital
    /// letters too, five bits a character. `box` is always written; its depth is 5 times the length
    /// of the text, also where a NUL byte ended the scan, which leaves the later bits 0.
    ///
    /// - 0 to 26 characters: true. The 26th adds three bits only, and its depth of 130 is not
    /// valid.
    /// - More: false, words 0.
    /// - Any other character in front of a NUL byte: false, words 0 and depth 4294967295.
    ///
    /// Of a text of 13 to 22 characters only the first 64 bits are kept, so such a text does not
    /// come back from spaceBoxToString: a stored text must go on meaning the same cell.
    static bool stringToSpaceBox(const std::string& geohash, SpaceBox& box);

    /// Geohash text in lower case: a character for every five bits or part of them up to the depth,
    /// bits beyond it as 0. "" at depth 0; depths above 128 are as 128, which gives 26 characters.
    static std::string spaceBoxToString(const SpaceBox& box);

    /// The cell of a point, and those of its eight neighbours that a circle around the point
    /// reaches, into `boxes`, which has room for _NUM_NEAREST_NEIGHBORS; their number into `count`.
    /// False, and nothing written, where pointToSpaceBox is false.
    ///
    /// `boxes[0]` is the point's own cell at `depth` with all 128 bits filled. The neighbours
    /// follow in the order E, N, W, S, SE, NE, NW, SW, each one only where `distance`, in metres,
    /// is greater than the way to the edge (both edges at a corner, so it is the square around the
    /// circle that counts). A distance of 0, below 0 or NaN takes no neighbour.
    ///
    /// Kept so that an event goes on touching the same cells: neighbours stand at `depth` rounded
    /// down to an even number, with zeros below it, and the edges are those of the cell at that
    /// even depth; stepping over an end of the range continues at the other end, also from pole to
    /// pole; at depths 0 and 1 (and 128 and above) the shift wraps, and neighbours are one step of
    /// the finest code away or wherever the wrapped shift leads. Ways are those on the sphere with
    /// the semi-major axis of WGS-84, along the meridian and along the parallel of `lat`.
    static bool pointToSpaceBoxes(const double& lat, const double& lon, const std::uint32_t& depth,
                                  const double& distance, SpaceBox* boxes, std::uint32_t& count);

    /// Are two points, in degrees, no more than `threshold` metres apart? Measured by
    /// SpheroidalMetric; a distance equal to the threshold is near, and where the distance or the
    /// threshold is NaN nothing is near.
    static bool nearFilter(const double& lat1, const double& lon1, const double& lat2,
                           const double& lon2, const double& threshold);

    /// The middle, in degrees, of the span that runs east from `lon1` to `lon2`, over the
    /// antimeridian when `lon1` is greater. Always true. The middle of 170 and -170 is -180.
    static bool midLongitude(const double& lon1, const double& lon2, double& mid);

    /// Seconds since 1970-01-01 00:00:00 UTC as "year-month-day hour:minute:second", no zeros in
    /// front, by the proleptic Gregorian calendar for every number. Kept for programs that read
    /// such texts: January is month 0 (86400 is "1970-0-2 0:0:0"), and 0 and 9223372036854775807,
    /// the ends of the box for all time, are "NULL". Always true.
    static bool prettyPrintTimeStamp(const std::int64_t& seconds, std::string& text);

private:
    friend struct UtilG2TestAccess; // the tests' way to what follows

    static bool doubleToI64(const double& x, std::uint64_t& code);
    static bool i64ToDouble(const std::uint64_t& code, double& x);
    static void point64ToSpaceBox(const std::uint64_t& latCode, const std::uint64_t& lonCode,
                                  const std::uint32_t& depth, SpaceBox& box);

    /// The ways from a point to the edges of its cell at `bits` bits of each coordinate, metres:
    /// east, north, west, south. Is `radius` at least the smallest? False, and `edges` as they
    /// were, where the point has no cell.
    static bool distance(const double& lat, const double& lon, const std::int32_t& bits,
                         const double& radius, double* edges);
    static double latDistance(const std::uint64_t& delta);
    static double lonDistance(const std::uint64_t& delta, const double& parallelRadius);

    /// The most bits of latitude at which a cell still extends over `size` metres: 64 at most, and
    /// for a `size` of 0 or below; negative beyond the earth's own extent.
    static std::int32_t getNumLatitudeBits(const double& size);

    /// The same for longitude along the parallel of `lat`.
    static std::int32_t getNumLongitudeBits(const double& lat, const double& size);

    /// Twice the smaller of both: an interleaved depth.
    static std::int32_t getNumBits(const double& lat, const double& size);
};

QORVEL_END_NAMESPACE

#endif
