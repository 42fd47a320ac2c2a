#ifndef QORVEL_PROGRAM_INPUT_FIX_H
#define QORVEL_PROGRAM_INPUT_FIX_H

#include <cstdint>
#include <optional>
#include <string>

namespace program {

/// One row of movement data that has passed every check. Its texts are UTF-8 without a NUL.
struct Fix {
    std::string entity;              ///< never empty
    double latitude = 0.0;           ///< degrees, -90 to 90
    double longitude = 0.0;          ///< degrees, -180 to 180
    std::int64_t time = 0;           ///< ms since 1970 UTC, not negative
    std::optional<double> accuracyM; ///< metres, not negative; none where the row has none
    std::string primaryKey;          ///< empty where the input has no such column
    std::string secondaryKey;        ///< the same
};

} // namespace program

#endif
