#ifndef QORVEL_HANGOUT_DETAIL_RECORDVIEW_H
#define QORVEL_HANGOUT_DETAIL_RECORDVIEW_H

#include "qorvel/base/bits.h"
#include "qorvel/geohash/detail/Cell.h"
#include "qorvel/hangout/detail/Series.h"
#include "qorvel/model/Event.h"
#include "qorvel/model/STBCompressionSpec.h"
#include "qorvel/model/TimeBox.h"

#include <cstdint>

namespace qorvel_detail {

/// What makes two records repeats of each other: the same entity, spec key, cell and time box.
struct RecordKey {
    std::uint64_t eid;
    /// A significant cell.
    Cell cell;
    std::int64_t start;
    std::int64_t end;
    std::uint32_t specPrimaryKeyId;

    bool operator==(const RecordKey&) const = default;
};

/// A record where it was found, before it costs anything: the list of its events is still the
/// series. Good only for the call that it is handed to.
struct RecordView {
    const Event& event;
    const STBCompressionSpec& spec;
    const Cell& cell; ///< as the event computed it, with all its bits
    const TimeBox& box;
    const Series& series; ///< never empty
    const Tally& tally;

    RecordKey key() const {
        return {event.eid, significant(cell), box.start, box.end, spec.primaryKeyId};
    }
    /// Of the item that arrived first.
    std::int64_t firstTime() const { return series.front().time; }
    /// After the item that arrived last; wraps at the end of time.
    std::int64_t endTime() const { return wrappingAdd(series.back().time, 1); }
    std::uint32_t totalCount() const { return tally.beforeCount + tally.afterCount; }
};

} // namespace qorvel_detail

#endif
