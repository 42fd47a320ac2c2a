#include "qorvel/processor/detail/RecentHangouts.h"

#include "qorvel/geohash/detail/boxCell.h"
#include "qorvel/geohash/detail/hashing.h"

#include <iterator>

QORVEL_BEGIN_NAMESPACE
namespace detail {

namespace {

RecordKey keyOf(const STBCompressedEvent& record) {
    const SpaceTimeBox& box = record.stb;
    return {record.eid, significantCellOf(box), box.start, box.end, record.specPrimaryKeyId};
}

} // namespace

std::size_t RecentHangouts::KeyHash::operator()(const RecordKey& key) const noexcept {
    std::uint64_t hash = combine(hashOf(key.cell), key.eid);
    hash = combine(hash, static_cast<std::uint64_t>(key.start));
    hash = combine(hash, static_cast<std::uint64_t>(key.end) ^ key.specPrimaryKeyId);
    return static_cast<std::size_t>(hash);
}

void RecentHangouts::supressDuplicateHangouts(std::list<STBCompressedEvent>& records) {
    for (auto record = records.begin(); record != records.end();) {
        record = isDuplicateHangout(*record) ? records.erase(record) : std::next(record);
    }
}

bool RecentHangouts::isDuplicateHangout(const STBCompressedEvent& record) {
    const TimeBox& box = record.stb;
    const auto [entry, isNew] = boxes_.try_emplace(keyOf(record), LastTwo{box, box});
    if (isNew) {
        return false;
    }
    LastTwo& seen = entry->second;
    if (box == seen.older || box == seen.newer) {
        return true;
    }
    seen.older = seen.newer;
    seen.newer = box;
    return false;
}

} // namespace detail
QORVEL_END_NAMESPACE
