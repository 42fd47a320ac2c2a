#ifndef QORVEL_BASE_BITS_H
#define QORVEL_BASE_BITS_H

#include <cstdint>

/// Integer arithmetic that is defined for every input. Results must not depend on the compiler's
/// view of overflow: shifts count modulo 64 and sums wrap in two's complement, as on x86-64.
namespace qorvel_detail {

constexpr std::uint64_t shiftLeft(std::uint64_t value, std::uint32_t count) {
    return value << (count & 63U);
}

constexpr std::uint64_t shiftRight(std::uint64_t value, std::uint32_t count) {
    return value >> (count & 63U);
}

constexpr std::int64_t wrappingAdd(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) + static_cast<std::uint64_t>(b));
}

constexpr std::int64_t wrappingSubtract(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) - static_cast<std::uint64_t>(b));
}

constexpr std::int64_t wrappingMultiply(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) * static_cast<std::uint64_t>(b));
}

/// |value| as an unsigned number, so that the smallest signed number has one too.
constexpr std::uint64_t magnitude(std::int64_t value) {
    const auto bits = static_cast<std::uint64_t>(value);
    return value < 0 ? 0 - bits : bits;
}

/// Truncates toward zero; NaN and whatever does not fit become -2^63, as the processor's own
/// conversion has it.
constexpr std::int64_t truncateToInt64(double value) {
    constexpr double limit = 9223372036854775808.0; // 2^63
    if (value >= -limit && value < limit) {
        return static_cast<std::int64_t>(value);
    }
    return INT64_MIN;
}

/// The low 32 bits of truncateToInt64.
constexpr std::uint32_t truncateToUint32(double value) {
    return static_cast<std::uint32_t>(truncateToInt64(value));
}

} // namespace qorvel_detail

#endif
