#ifndef QORVEL_PROCESSOR_DETAIL_RECENTHANGOUTS_H
#define QORVEL_PROCESSOR_DETAIL_RECENTHANGOUTS_H

#include "qorvel/hangout/detail/RecordSink.h"
#include "qorvel/model/STBCompressedEvent.h"
#include "qorvel/model/TimeBox.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <unordered_map>

QORVEL_BEGIN_NAMESPACE
namespace detail {

/// What a processor has reported, so that it reports each thing once. Grows with every new record
/// for the life of the processor, which is required: nothing may be reported twice, however late.
class RecentHangouts {
public:
    /// Erases the records that repeat one that was reported, or one further up in the list, and
    /// remembers the rest.
    void supressDuplicateHangouts(std::list<STBCompressedEvent>& records);

    bool contains(const RecordKey& key) const { return boxes_.find(key) != boxes_.end(); }
    std::size_t size() const { return boxes_.size(); }

private:
    /// The last two distinct time boxes seen for a key. The time box is part of the key, so a key
    /// that is found always carries its own box; the memory of two is kept as it was laid down.
    struct LastTwo {
        TimeBox older;
        TimeBox newer;
    };

    struct KeyHash {
        std::size_t operator()(const RecordKey& key) const noexcept;
    };

    bool isDuplicateHangout(const STBCompressedEvent& record);

    std::unordered_map<RecordKey, LastTwo, KeyHash> boxes_;
};

} // namespace detail
QORVEL_END_NAMESPACE

#endif
