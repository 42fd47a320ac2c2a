#ifndef QORVEL_ENGINE_SETUP_DETAIL_ZONECHANGES_H
#define QORVEL_ENGINE_SETUP_DETAIL_ZONECHANGES_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace qorvel_engine::detail {

/// What the clocks of a zone are ahead of UTC, ms: it changes at some times.
struct ZoneChanges {
    explicit ZoneChanges(std::int64_t offset) : before(offset) {}

    std::int64_t before;          ///< all changes
    std::vector<std::int64_t> at; ///< ms since 1970 UTC, ascending
    std::vector<std::int64_t> offsets;

    void add(std::int64_t time, std::int64_t offset) {
        at.push_back(time);
        offsets.push_back(offset);
    }

    /// How many of them are up to a time.
    std::size_t countUpTo(std::int64_t utc) const {
        return static_cast<std::size_t>(std::upper_bound(at.begin(), at.end(), utc) - at.begin());
    }
};

/// Those of a file of the time zone database, TZif from version 2 on (RFC 8536), up to the year
/// 2500. None if it is no such file, or one that counts leap seconds.
std::shared_ptr<const ZoneChanges> readZoneFile(std::string_view bytes);

} // namespace qorvel_engine::detail

#endif
