#ifndef QORVEL_HANGOUT_DETAIL_RECORDSINK_H
#define QORVEL_HANGOUT_DETAIL_RECORDSINK_H

#include "qorvel/hangout/detail/RecordView.h"

namespace qorvel_detail {

/// Where a detector's records go.
class RecordSink {
public:
    RecordSink() = default;
    RecordSink(const RecordSink&) = delete;
    RecordSink& operator=(const RecordSink&) = delete;
    virtual ~RecordSink() = default;

    /// False when the receiver would throw a record with this key away; then it is not offered.
    virtual bool wants(const RecordKey&) const { return true; }

    /// True when the answer to `wants` has to be fetched from far, and is worth a `prefetch` of the
    /// key that is most likely to be asked for. Neither has an effect.
    virtual bool remembersMuch() const { return false; }
    virtual void prefetch(const RecordKey&) const {}

    virtual void take(const RecordView& record) = 0;
};

} // namespace qorvel_detail

#endif
