#ifndef QORVEL_TESTING_SUPPORT_FORGEDSTATE_H
#define QORVEL_TESTING_SUPPORT_FORGEDSTATE_H

#include "qorvel/base/StateReader.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Writes the check sum of some bytes behind them.
inline void seal(std::string& state, std::size_t begin, std::size_t end) {
    const std::uint32_t crc =
        qorvel_detail::crc32(std::string_view(state).substr(begin, end - begin));
    for (unsigned i = 0; i < 4; ++i) {
        state[end + i] = static_cast<char>(crc >> 8 * i);
    }
}

/// Where the sections of a state begin, and where the last one ends.
inline std::vector<std::size_t> sectionsOf(const std::string& state) {
    std::vector<std::size_t> begins{36};
    while (begins.back() + 4 < state.size()) {
        qorvel_detail::StateReader header(std::string_view(state).substr(begins.back() + 8, 8));
        begins.push_back(begins.back() + 16 + static_cast<std::size_t>(header.u64()) + 4);
    }
    return begins;
}

/// The state with other bytes, whose check sums are right again but for those of sections, if they
/// are to stay.
inline std::string forged(std::string state, std::size_t at, std::string_view bytes,
                          bool sealsSections = true) {
    const std::vector<std::size_t> begins = sectionsOf(state);
    state.replace(at, bytes.size(), bytes);
    for (std::size_t i = 1; sealsSections && i < begins.size(); ++i) {
        seal(state, begins[i - 1], begins[i] - 4);
    }
    seal(state, 0, 32);
    seal(state, 0, state.size() - 4);
    return state;
}

#endif
