#ifndef QORVEL_HANGOUT_DETAIL_RECORDLIST_H
#define QORVEL_HANGOUT_DETAIL_RECORDLIST_H

#include "qorvel/hangout/detail/RecordSink.h"
#include "qorvel/model/STBCompressedEvent.h"

#include <list>

namespace qorvel_detail {

/// Appends records, with the lists of their events, to a list of the host's.
class RecordList : public RecordSink {
public:
    explicit RecordList(std::list<STBCompressedEvent>& records) : records_(records) {}

    /// An exception leaves the list as it was: only complete records arrive.
    void take(const RecordView& record) override;

private:
    std::list<STBCompressedEvent>& records_;
};

} // namespace qorvel_detail

#endif
