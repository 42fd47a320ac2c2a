#ifndef QORVEL_BASE_STATEFRAME_H
#define QORVEL_BASE_STATEFRAME_H

#include "qorvel/base/StateReader.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <utility>
#include <vector>

namespace qorvel_detail {

/// Why bytes are not the state that is wanted.
enum class StateFault {
    none,
    noState,            ///< it does not begin as one
    newer,              ///< of a later format, which this version cannot read
    cutShort,           ///< the end is missing
    damaged,            ///< a check sum is wrong, or what is in it cannot be
    otherKind,          ///< the state of something else
    otherConfiguration, ///< its fingerprint differs
    unknownSection      ///< one without which the rest is of no use
};

/// The header of a state.
struct StateHeader {
    std::uint32_t kind = 0;
    std::uint64_t length = 0; ///< of all, with the header and the last check sum
    std::uint64_t fingerprint = 0;

    StateFault read(std::string_view bytes) {
        const auto known = std::min(bytes.size(), kStateMagic.size());
        if (bytes.substr(0, known) != kStateMagic.substr(0, known)) {
            return StateFault::noState;
        }
        if (bytes.size() < kStateHeaderSize) {
            return StateFault::cutShort;
        }
        StateReader reader(bytes.substr(kStateMagic.size()));
        reader.u16(); // the version that wrote it matters to nobody
        const std::uint16_t leastReader = reader.u16();
        kind = reader.u32();
        length = reader.u64();
        fingerprint = reader.u64();
        if (reader.u32() != crc32(bytes.substr(0, kStateHeaderSize - kStateCrcSize))) {
            return StateFault::damaged;
        }
        if (leastReader > kStateVersion) {
            return StateFault::newer;
        }
        return length < kStateHeaderSize + kStateCrcSize ? StateFault::damaged : StateFault::none;
    }
};

/// A state taken apart, over bytes that stay where they are.
class StateFrame {
public:
    /// @param known  the sections that the reader knows; all of them have to be there
    StateFault read(std::string_view bytes, std::uint32_t kind, std::uint64_t fingerprint,
                    std::initializer_list<std::uint32_t> known) {
        StateHeader header;
        const StateFault fault = header.read(bytes);
        if (fault != StateFault::none) {
            return fault;
        }
        if (bytes.size() < header.length) {
            return StateFault::cutShort;
        }
        if (bytes.size() > header.length) {
            return StateFault::damaged;
        }
        const std::size_t end = bytes.size() - kStateCrcSize;
        const Pieces pieces(bytes.substr(0, end));
        if (StateReader(bytes.substr(end)).u32() != pieces.crc) {
            return StateFault::damaged;
        }
        if (header.kind != kind) {
            return StateFault::otherKind;
        }
        if (header.fingerprint != fingerprint) {
            return StateFault::otherConfiguration;
        }
        return readSections(pieces, known);
    }

    /// One of those that are known, once they are read.
    StateReader section(std::uint32_t tag) const { return StateReader(find(tag)->second); }

private:
    static constexpr std::size_t kSectionHeaderSize = 16;

    /// All sections and what is no section any more, with a check sum of all, for which each byte
    /// is read once.
    struct Pieces {
        struct Section {
            std::string_view bytes; ///< without its check sum
            bool isIntact;          ///< the check sum is right
        };

        /// @param bytes  from the header on
        explicit Pieces(std::string_view bytes)
            : rest(bytes.substr(kStateHeaderSize)), crc(crc32(bytes.substr(0, kStateHeaderSize))) {
            while (!rest.empty()) {
                StateReader reader(rest.substr(std::min(rest.size(), std::size_t{8})));
                const std::size_t size = kSectionHeaderSize + reader.text().size();
                const std::string_view told = reader.take(kStateCrcSize);
                if (!reader.isGood()) {
                    break;
                }
                const std::uint32_t own = crc32(rest.substr(0, size));
                sections.push_back({rest.substr(0, size), StateReader(told).u32() == own});
                crc = crc32(told, crc32Joined(crc, own, size));
                rest.remove_prefix(size + kStateCrcSize);
            }
            crc = crc32(rest, crc);
        }

        std::vector<Section> sections;
        std::string_view rest;
        std::uint32_t crc;
    };

    StateFault readSections(const Pieces& pieces, std::initializer_list<std::uint32_t> known) {
        for (const Pieces::Section& section : pieces.sections) {
            StateReader reader(section.bytes);
            const std::uint32_t tag = reader.u32();
            const std::uint32_t need = reader.u32();
            const std::string_view body = reader.text();
            const bool isKnown = std::find(known.begin(), known.end(), tag) != known.end();
            if (!section.isIntact || (isKnown && find(tag) != sections_.end())) {
                return StateFault::damaged;
            }
            if (!isKnown && (need & static_cast<std::uint32_t>(StateNeed::critical)) != 0) {
                return StateFault::unknownSection;
            }
            if (isKnown) {
                sections_.emplace_back(tag, body);
            }
        }
        return pieces.rest.empty() && sections_.size() == known.size() ? StateFault::none
                                                                       : StateFault::damaged;
    }

    using Sections = std::vector<std::pair<std::uint32_t, std::string_view>>;

    Sections::const_iterator find(std::uint32_t tag) const {
        return std::find_if(sections_.begin(), sections_.end(),
                            [tag](const auto& entry) { return entry.first == tag; });
    }

    Sections sections_;
};

} // namespace qorvel_detail

#endif
