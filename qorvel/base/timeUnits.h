#ifndef QORVEL_BASE_TIMEUNITS_H
#define QORVEL_BASE_TIMEUNITS_H

#include <array>
#include <cstdint>
#include <string_view>

namespace qorvel_detail {

/// The words of the units that time boxes are counted in, by their codes (TimeBoxSpec::unit).
inline constexpr std::array<std::string_view, 8> kUnitWords = {
    "milliseconds", "seconds", "minutes", "hours", "days", "months", "years", "ever"};

/// Milliseconds of the first of them, which are always equally long.
inline constexpr std::array<std::uint32_t, 5> kFixedUnitMillis = {1, 1000, 60000, 3600000,
                                                                  86400000};

} // namespace qorvel_detail

#endif
