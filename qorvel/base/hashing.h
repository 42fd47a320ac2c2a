#ifndef QORVEL_BASE_HASHING_H
#define QORVEL_BASE_HASHING_H

#include <cstdint>

namespace qorvel_detail {

/// Hashes for the library's own tables. Entity numbers are dense and cells share their low bits
/// (which are 0), so every bit of the input has to reach the low bits of the hash. The mixing
/// steps are the finalizer of SplitMix64.
constexpr std::uint64_t mix(std::uint64_t value) {
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9U;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EBU;
    return value ^ (value >> 31);
}

constexpr std::uint64_t combine(std::uint64_t hash, std::uint64_t value) {
    return mix(hash ^ value) + 0x9E3779B97F4A7C15U;
}

} // namespace qorvel_detail

#endif
