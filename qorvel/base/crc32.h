#ifndef QORVEL_BASE_CRC32_H
#define QORVEL_BASE_CRC32_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qorvel_detail {

using Crc32Tables = std::array<std::array<std::uint32_t, 256>, 8>;

inline constexpr std::uint32_t kCrc32Polynomial = 0xEDB88320U;

constexpr Crc32Tables makeCrc32Tables() {
    Crc32Tables tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t crc = byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1U) ^ ((crc & 1U) != 0 ? kCrc32Polynomial : 0U);
        }
        tables[0][byte] = crc;
    }
    for (std::size_t behind = 1; behind < tables.size(); ++behind) {
        for (std::uint32_t byte = 0; byte < 256; ++byte) {
            const std::uint32_t crc = tables[behind - 1][byte];
            tables[behind][byte] = (crc >> 8U) ^ tables[0][crc & 0xFFU];
        }
    }
    return tables;
}

inline constexpr Crc32Tables kCrc32Tables = makeCrc32Tables();

/// CRC-32 of IEEE 802.3, as gzip and zlib have it. Eight bytes a step: each finds in a table what
/// it comes to that many bytes further on.
/// @param before  that of bytes before these, where it is to be that of all
inline std::uint32_t crc32(std::string_view bytes, std::uint32_t before = 0) {
    const auto at = [&bytes](std::size_t i) {
        return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i]));
    };
    std::uint32_t crc = ~before;
    for (; bytes.size() >= kCrc32Tables.size(); bytes.remove_prefix(kCrc32Tables.size())) {
        crc ^= at(0) | at(1) << 8U | at(2) << 16U | at(3) << 24U;
        crc = kCrc32Tables[7][crc & 0xFFU] ^ kCrc32Tables[6][(crc >> 8U) & 0xFFU] ^
              kCrc32Tables[5][(crc >> 16U) & 0xFFU] ^ kCrc32Tables[4][crc >> 24U] ^
              kCrc32Tables[3][at(4)] ^ kCrc32Tables[2][at(5)] ^ kCrc32Tables[1][at(6)] ^
              kCrc32Tables[0][at(7)];
    }
    for (const char byte : bytes) {
        crc = (crc >> 8U) ^ kCrc32Tables[0][(crc ^ static_cast<unsigned char>(byte)) & 0xFFU];
    }
    return ~crc;
}

/// The product of two polynomials modulo that of the check sum; the highest bit is that of x^0.
constexpr std::uint32_t crc32Product(std::uint32_t left, std::uint32_t right) {
    std::uint32_t product = 0;
    for (std::uint32_t bit = 0x80000000U; bit != 0; bit >>= 1U) {
        product ^= (left & bit) != 0 ? right : 0U;
        right = (right >> 1U) ^ ((right & 1U) != 0 ? kCrc32Polynomial : 0U);
    }
    return product;
}

/// The check sum of bytes and others behind them by the check sums of both: the first as if as many
/// zero bytes stood behind it. So what has a check sum need not be read again.
constexpr std::uint32_t crc32Joined(std::uint32_t first, std::uint32_t second,
                                    std::uint64_t secondSize) {
    std::uint32_t power = 0x00800000U; // x^8, a byte
    for (; secondSize != 0; secondSize >>= 1U) {
        if ((secondSize & 1U) != 0) {
            first = crc32Product(first, power);
        }
        power = crc32Product(power, power);
    }
    return first ^ second;
}

} // namespace qorvel_detail

#endif
