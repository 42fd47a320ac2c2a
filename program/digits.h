#ifndef QORVEL_PROGRAM_DIGITS_H
#define QORVEL_PROGRAM_DIGITS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace program {

/// "00", "01" up to "99".
inline constexpr std::array<char, 200> kPairs = [] {
    std::array<char, 200> pairs{};
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        pairs[i] = static_cast<char>('0' + (i % 2 == 0 ? i / 20 : i / 2 % 10));
    }
    return pairs;
}();

/// Puts two digits there; the value has no more.
template <typename Value>
void putPair(char* at, Value value) {
    std::memcpy(at, &kPairs[2 * static_cast<std::size_t>(value)], 2);
}

} // namespace program

#endif
