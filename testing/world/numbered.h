#ifndef QORVEL_TESTING_WORLD_NUMBERED_H
#define QORVEL_TESTING_WORLD_NUMBERED_H

#include <cstdint>
#include <string>

namespace world {

/// ("home", 7, 4) gives "home-0007"; longer numbers are written whole.
inline std::string numbered(const std::string& kind, std::uint32_t number, std::size_t width) {
    const std::string digits = std::to_string(number);
    const std::size_t zeros = digits.size() < width ? width - digits.size() : 0;
    return kind + '-' + std::string(zeros, '0') + digits;
}

} // namespace world

#endif
