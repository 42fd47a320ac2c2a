#include "qorvel/processor/detail/RecentHangouts.h"

#include "qorvel/base/hashing.h"
#include "qorvel/geohash/detail/boxCell.h"

#include <iterator>

namespace qorvel_detail {

namespace {

RecordKey keyOf(const STBCompressedEvent& record) {
    const SpaceTimeBox& box = record.stb;
    return {record.eid, significantCellOf(box), box.start, box.end, record.specPrimaryKeyId};
}

} // namespace

/// The first time box is both the older and the newer one.
void RecentHangouts::Slot::occupy(const RecordKey& key) {
    eid = key.eid;
    first = key.cell.first;
    second = key.cell.second;
    depth = key.cell.depth;
    specPrimaryKeyId = key.specPrimaryKeyId;
    older = newer = time = spanOf(key);
    used = true;
}

std::uint64_t RecentHangouts::Slot::hash(const RecordKey& key) {
    std::uint64_t hash = combine(hashOf(key.cell), key.eid);
    hash = combine(hash, static_cast<std::uint64_t>(key.start));
    return combine(hash, static_cast<std::uint64_t>(key.end) ^ key.specPrimaryKeyId);
}

void RecentHangouts::supressDuplicateHangouts(std::list<STBCompressedEvent>& records) {
    for (auto record = records.begin(); record != records.end();) {
        record = isDuplicateHangout(keyOf(*record)) ? records.erase(record) : std::next(record);
    }
}

bool RecentHangouts::isDuplicateHangout(const RecordKey& key) {
    const std::uint64_t known = size();
    Slot& slot = keys_.findOrAdd(key);
    if (size() > known) {
        return false;
    }
    const bool repeats = slot.remembers(spanOf(key));
    if (!repeats) {
        slot.remember(spanOf(key));
    }
    return repeats;
}

} // namespace qorvel_detail
