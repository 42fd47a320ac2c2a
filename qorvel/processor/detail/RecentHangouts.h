#ifndef QORVEL_PROCESSOR_DETAIL_RECENTHANGOUTS_H
#define QORVEL_PROCESSOR_DETAIL_RECENTHANGOUTS_H

#include "qorvel/hangout/detail/FlatTable.h"
#include "qorvel/hangout/detail/RecordSink.h"
#include "qorvel/model/STBCompressedEvent.h"

#include <cstdint>
#include <list>

namespace qorvel_detail {

/// What a processor has reported, so that it reports each thing once. Grows with every new record
/// for the life of the processor, which is required: nothing may be reported twice, however late.
///
/// The last two distinct time boxes seen for a key are what makes a record a repeat. The time box
/// is part of the key, so both are always the key's own, and the keys alone tell.
class RecentHangouts {
public:
    /// Erases the records that repeat one that was reported, or one further up in the list, and
    /// remembers the rest.
    void supressDuplicateHangouts(std::list<STBCompressedEvent>& records);

    bool contains(const RecordKey& key) const { return keys_.find(key) != nullptr; }
    void prefetch(const RecordKey& key) const { keys_.prefetch(key); }
    std::uint64_t size() const { return keys_.size(); }

private:
    struct Slot {
        using Key = RecordKey;

        RecordKey record{};
        bool used = false;

        bool isUsed() const { return used; }
        const RecordKey& key() const { return record; }
        bool holds(const RecordKey& other) const { return record == other; }
        void occupy(const RecordKey& newRecord) {
            record = newRecord;
            used = true;
        }
        static std::uint64_t hash(const RecordKey& key);
    };

    bool isDuplicateHangout(const STBCompressedEvent& record);

    FlatTable<Slot> keys_;
};

} // namespace qorvel_detail

#endif
