#include "page/base64.h"

#include <cstdint>

namespace qorvel_page {

std::string base64(std::string_view bytes) {
    constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const auto byte = [&](std::size_t i) -> std::uint32_t {
            return at + i < bytes.size() ? static_cast<unsigned char>(bytes[at + i]) : 0;
        };
        const std::uint32_t group = byte(0) << 16 | byte(1) << 8 | byte(2);
        text += kDigits[group >> 18];
        text += kDigits[group >> 12 & 63];
        text += at + 1 < bytes.size() ? kDigits[group >> 6 & 63] : '=';
        text += at + 2 < bytes.size() ? kDigits[group & 63] : '=';
    }
    return text;
}

} // namespace qorvel_page
