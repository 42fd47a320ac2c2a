#ifndef QORVEL_BASE_STATEWRITER_H
#define QORVEL_BASE_STATEWRITER_H

#include "qorvel/base/crc32.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace qorvel_detail {

// The frame of a state, which docs/state-format.md tells: a header, sections and a check sum.

inline constexpr std::string_view kStateMagic("QRVL\r\n\x1A\n", 8);
inline constexpr std::uint16_t kStateVersion = 1;     ///< of what is written
inline constexpr std::uint16_t kStateLeastReader = 1; ///< the least version that reads it
inline constexpr std::size_t kStateHeaderSize = 36;
inline constexpr std::size_t kStateLengthAt = 16; ///< in the header
inline constexpr std::size_t kStateCrcSize = 4;

/// Four characters as a number, the first lowest.
constexpr std::uint32_t stateTag(const char (&text)[5]) {
    std::uint32_t tag = 0;
    for (unsigned i = 4; i-- > 0;) {
        tag = tag << 8U | static_cast<unsigned char>(text[i]);
    }
    return tag;
}

/// What a section is to a reader that does not know it.
enum class StateNeed : std::uint32_t { optional = 0, critical = 1 };

/// Writes states: numbers of fixed width, the lowest byte first, and doubles by their bits.
class StateWriter {
public:
    void u8(std::uint8_t value) { put<1>(value); }
    void u16(std::uint16_t value) { put<2>(value); }
    void u32(std::uint32_t value) { put<4>(value); }
    void u64(std::uint64_t value) { put<8>(value); }
    void i64(std::int64_t value) { u64(static_cast<std::uint64_t>(value)); }
    void f64(double value) { u64(std::bit_cast<std::uint64_t>(value)); }
    void text(std::string_view value) {
        u64(value.size());
        bytes_ += value;
    }

    /// Room for a length of the bytes behind it, which `endLength` fills in.
    std::size_t beginLength() {
        u64(0);
        return bytes_.size();
    }
    void endLength(std::size_t begin) { setU64(begin - 8, bytes_.size() - begin); }

    /// For what turns out later.
    std::size_t size() const { return bytes_.size(); }
    void setU64(std::size_t at, std::uint64_t value) { set(at, value, 8); }
    void truncate(std::size_t size) { bytes_.resize(size); }

    /// The frame: begin, for each section beginSection and endSection, finish.
    void begin(std::uint32_t kind, std::uint64_t fingerprint) {
        sections_ = 0;
        bytes_ = kStateMagic;
        u16(kStateVersion);
        u16(kStateLeastReader);
        u32(kind);
        u64(0); // the length of all, known at the end
        u64(fingerprint);
        u32(0); // the header's check sum
    }
    void beginSection(std::uint32_t tag, StateNeed need) {
        section_ = bytes_.size();
        u32(tag);
        u32(static_cast<std::uint32_t>(need));
        sectionBody_ = beginLength();
    }
    void endSection() {
        endLength(sectionBody_);
        const std::size_t size = bytes_.size() - section_;
        const std::uint32_t crc = crc32(std::string_view(bytes_).substr(section_));
        u32(crc);
        sections_ = crc32(std::string_view(bytes_).substr(section_ + size),
                          crc32Joined(sections_, crc, size));
    }
    std::string finish() {
        const std::size_t ownCrcAt = kStateHeaderSize - kStateCrcSize;
        setU64(kStateLengthAt, bytes_.size() + kStateCrcSize);
        set(ownCrcAt, crc32(std::string_view(bytes_).substr(0, ownCrcAt)), kStateCrcSize);
        const std::uint32_t header = crc32(std::string_view(bytes_).substr(0, kStateHeaderSize));
        u32(crc32Joined(header, sections_, bytes_.size() - kStateHeaderSize));
        return std::move(bytes_);
    }

    /// What was written, without a frame.
    const std::string& bytes() const { return bytes_; }

private:
    template <unsigned kSize>
    void put(std::uint64_t value) {
        char bytes[kSize];
        for (unsigned i = 0; i < kSize; ++i) {
            bytes[i] = static_cast<char>(value >> (8 * i));
        }
        bytes_.append(bytes, kSize);
    }
    void set(std::size_t at, std::uint64_t value, unsigned size) {
        for (unsigned i = 0; i < size; ++i) {
            bytes_[at + i] = static_cast<char>(value >> (8 * i));
        }
    }

    std::string bytes_;
    std::size_t section_ = 0;
    std::size_t sectionBody_ = 0;
    std::uint32_t sections_ = 0; ///< the check sum of all sections so far
};

/// FNV-1a of 64 bits, by which configurations are told apart.
inline std::uint64_t stateFingerprint(std::string_view bytes) {
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (const char byte : bytes) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3U;
    }
    return hash;
}

} // namespace qorvel_detail

#endif
