#ifndef QORVEL_PROGRAM_INPUT_FILTEROPTIONS_H
#define QORVEL_PROGRAM_INPUT_FILTEROPTIONS_H

#include <cstdint>
#include <limits>
#include <optional>
#include <set>
#include <string>

namespace program {

/// Degrees. West may be greater than east: then the area lies across longitude 180.
struct Area {
    double west;
    double south;
    double east;
    double north;
};

/// Which fixes count; the others are left out before anything looks at them.
struct FilterOptions {
    std::set<std::string, std::less<>> entities;                  ///< none: all
    std::optional<Area> area;                                     ///< its edges count
    std::int64_t from = std::numeric_limits<std::int64_t>::min(); ///< ms since 1970 UTC
    std::int64_t to = std::numeric_limits<std::int64_t>::max();   ///< the last that counts
    std::optional<double> maxSpeed; ///< metres a second, above 0, see FixFilter
};

} // namespace program

#endif
