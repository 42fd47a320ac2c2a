#include "qorvel/processor/detail/RecentHangouts.h"

#include "qorvel/geohash/detail/boxCell.h"
#include "qorvel/geohash/detail/hashing.h"

#include <iterator>

namespace qorvel_detail {

namespace {

RecordKey keyOf(const STBCompressedEvent& record) {
    const SpaceTimeBox& box = record.stb;
    return {record.eid, significantCellOf(box), box.start, box.end, record.specPrimaryKeyId};
}

} // namespace

std::uint64_t RecentHangouts::Slot::hash(const RecordKey& key) {
    std::uint64_t hash = combine(hashOf(key.cell), key.eid);
    hash = combine(hash, static_cast<std::uint64_t>(key.start));
    return combine(hash, static_cast<std::uint64_t>(key.end) ^ key.specPrimaryKeyId);
}

void RecentHangouts::supressDuplicateHangouts(std::list<STBCompressedEvent>& records) {
    for (auto record = records.begin(); record != records.end();) {
        record = isDuplicateHangout(*record) ? records.erase(record) : std::next(record);
    }
}

bool RecentHangouts::isDuplicateHangout(const STBCompressedEvent& record) {
    const std::uint64_t known = size();
    keys_.findOrAdd(keyOf(record));
    return size() == known;
}

} // namespace qorvel_detail
