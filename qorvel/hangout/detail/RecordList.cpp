#include "qorvel/hangout/detail/RecordList.h"

#include "qorvel/geohash/detail/boxCell.h"

namespace qorvel_detail {

void RecordList::take(const RecordView& view) {
    std::list<STBCompressedEvent> made(1);
    STBCompressedEvent& record = made.front();
    record.eid = view.event.eid;
    for (std::uint32_t i = 0; i < view.series.size(); ++i) {
        record.eventSequenceNumbers.push_back(view.series[i].sequenceNumber);
    }
    record.specPrimaryKeyId = view.spec.primaryKeyId;
    record.eventSecondaryKeyId = static_cast<std::uint32_t>(view.event.secondaryKeyId);
    record.masterId = view.spec.masterId;
    record.stb = SpaceTimeBox(boxOf(view.cell), view.box);
    record.firstTime = view.firstTime();
    record.endTime = view.endTime();
    record.lastTimeBefore = view.tally.lastBefore;
    record.firstTimeAfter = view.tally.firstAfter;
    record.totalCount = view.totalCount();
    record.beforeCount = view.tally.beforeCount;
    record.afterCount = view.tally.afterCount;
    records_.splice(records_.end(), made);
}

} // namespace qorvel_detail
