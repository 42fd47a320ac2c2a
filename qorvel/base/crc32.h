#ifndef QORVEL_BASE_CRC32_H
#define QORVEL_BASE_CRC32_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qorvel_detail {

using Crc32Tables = std::array<std::array<std::uint32_t, 256>, 8>;

constexpr Crc32Tables makeCrc32Tables() {
    constexpr std::uint32_t kPolynomial = 0xEDB88320U;
    Crc32Tables tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t crc = byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1U) ^ ((crc & 1U) != 0 ? kPolynomial : 0U);
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
inline std::uint32_t crc32(std::string_view bytes) {
    const auto at = [&bytes](std::size_t i) {
        return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i]));
    };
    std::uint32_t crc = 0xFFFFFFFFU;
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

} // namespace qorvel_detail

#endif
