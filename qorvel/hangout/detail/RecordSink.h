#ifndef QORVEL_HANGOUT_DETAIL_RECORDSINK_H
#define QORVEL_HANGOUT_DETAIL_RECORDSINK_H

#include "qorvel/geohash/detail/Cell.h"
#include "qorvel/model/STBCompressedEvent.h"
#include "qorvel/model/TimeBox.h"

#include <cstdint>
#include <list>

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

/// Where a detector's records go. A record costs as much as its list of events is long, so the
/// detector asks before it builds one.
class RecordSink {
public:
    explicit RecordSink(std::list<STBCompressedEvent>& records) : records_(records) {}
    RecordSink(const RecordSink&) = delete;
    RecordSink& operator=(const RecordSink&) = delete;
    virtual ~RecordSink() = default;

    /// False when the receiver would throw a record with this key away.
    virtual bool wants(const RecordKey&) const { return true; }

    /// True when the answer to `wants` has to be fetched from far, and is worth a `prefetch` of the
    /// key that is most likely to be asked for. Neither has an effect.
    virtual bool remembersMuch() const { return false; }
    virtual void prefetch(const RecordKey&) const {}

    /// Appends the one record of `record`. Never fails, so that only complete records arrive.
    void append(std::list<STBCompressedEvent>& record) noexcept {
        records_.splice(records_.end(), record);
    }

private:
    std::list<STBCompressedEvent>& records_;
};

} // namespace qorvel_detail

#endif
