#ifndef QORVEL_FUZZ_MENDSTATE_H
#define QORVEL_FUZZ_MENDSTATE_H

#include "qorvel/base/StateReader.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

constexpr std::size_t kSectionHeaderSize = 16;

inline void putNumber(std::string& state, std::size_t at, std::uint64_t value, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        state[at + i] = static_cast<char>(value >> 8 * i);
    }
}

/// Nobody finds a check sum by chance: those that lie within the bytes are put right, with the
/// length of all.
inline void mendCheckSums(std::string& state) {
    using namespace qorvel_detail;
    const auto seal = [&state](std::size_t from, std::size_t to) {
        putNumber(state, to, crc32(std::string_view(state).substr(from, to - from)), kStateCrcSize);
    };
    if (state.size() < kStateHeaderSize + kStateCrcSize) {
        return;
    }
    putNumber(state, kStateLengthAt, state.size(), 8);
    seal(0, kStateHeaderSize - kStateCrcSize);
    const std::size_t end = state.size() - kStateCrcSize;
    for (std::size_t at = kStateHeaderSize; at + kSectionHeaderSize + kStateCrcSize <= end;) {
        const std::uint64_t size = StateReader(std::string_view(state).substr(at + 8)).u64();
        if (size > end - at - kSectionHeaderSize - kStateCrcSize) {
            break;
        }
        const std::size_t crcAt = at + kSectionHeaderSize + static_cast<std::size_t>(size);
        seal(at, crcAt);
        at = crcAt + kStateCrcSize;
    }
    seal(0, end);
}

/// Sections reach from where their names stand to where the next one's does, whatever was put in
/// between or left out.
inline void mendLengths(std::string& state, std::initializer_list<const char*> sections) {
    using namespace qorvel_detail;
    if (state.size() < kStateHeaderSize + kStateCrcSize) {
        return;
    }
    const std::size_t end = state.size() - kStateCrcSize;
    std::size_t begin = std::min(state.find(*sections.begin(), kStateHeaderSize, 4), end);
    for (const char* const* name = sections.begin(); name != sections.end(); ++name) {
        const std::size_t body = begin + kSectionHeaderSize;
        const std::size_t next =
            name + 1 == sections.end() ? end : std::min(state.find(name[1], body, 4), end);
        if (next < body + kStateCrcSize) {
            return;
        }
        putNumber(state, begin + 8, next - body - kStateCrcSize, 8);
        begin = next;
    }
}

#endif
