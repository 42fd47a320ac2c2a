#ifndef QORVEL_PAGE_BYTEWRITER_H
#define QORVEL_PAGE_BYTEWRITER_H

#include <cstdint>
#include <string>
#include <string_view>

namespace qorvel_page {

/// Bytes as the page reads them: numbers in seven bits a byte, the lowest first, those with a sign
/// in zigzag; texts behind their length.
class ByteWriter {
public:
    const std::string& bytes() const { return bytes_; }

    void append(std::string_view bytes) { bytes_ += bytes; }

    void byte(std::uint8_t value) { bytes_ += static_cast<char>(value); }

    void unsignedNumber(std::uint64_t value) {
        while (value >= 0x80) {
            byte(static_cast<std::uint8_t>(value | 0x80));
            value >>= 7;
        }
        byte(static_cast<std::uint8_t>(value));
    }

    void number(std::int64_t value) {
        const auto bits = static_cast<std::uint64_t>(value);
        unsignedNumber(value < 0 ? ~(bits << 1) : bits << 1);
    }

    void text(std::string_view text) {
        unsignedNumber(text.size());
        append(text);
    }

private:
    std::string bytes_;
};

} // namespace qorvel_page

#endif
