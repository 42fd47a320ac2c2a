#ifndef QORVEL_PROCESSOR_DETAIL_RECENTHANGOUTS_H
#define QORVEL_PROCESSOR_DETAIL_RECENTHANGOUTS_H

#include "qorvel/base/FlatTable.h"
#include "qorvel/hangout/detail/RecordSink.h"
#include "qorvel/model/STBCompressedEvent.h"

#include <cstdint>
#include <list>

namespace qorvel_detail {

/// What a processor has reported, so that it reports each thing once, however late it comes again.
/// Therefore nothing is removed, unless somebody knows that it cannot come again: this grows with
/// every new record for the life of the processor.
///
/// For each key it remembers the last two distinct time boxes, and a record that has one of them is
/// a repeat. As long as the time box is itself a part of the key, both are always the key's own.
class RecentHangouts {
public:
    /// A time box without its class.
    struct Span {
        std::int64_t start = 0;
        std::int64_t end = 0;

        bool operator==(const Span&) const = default;
    };

    /// A record. The key is laid out in place: beside the depth there is room for the spec's
    /// number.
    struct Slot {
        using Key = RecordKey;

        std::uint64_t eid = 0;
        std::uint64_t first = 0;
        std::uint64_t second = 0;
        std::uint32_t depth = 0;
        std::uint32_t specPrimaryKeyId = 0;
        Span time;
        Span older;
        Span newer;
        bool used = false;

        bool isUsed() const { return used; }
        RecordKey key() const {
            return {eid, {first, second, depth}, time.start, time.end, specPrimaryKeyId};
        }
        bool holds(const RecordKey& other) const { return key() == other; }
        void occupy(const RecordKey& key);
        static std::uint64_t hash(const RecordKey& key);

        bool remembers(const Span& span) const { return span == older || span == newer; }
        void remember(const Span& span) {
            older = newer;
            newer = span;
        }
    };
    static_assert(sizeof(Slot) <= 88);

    /// Erases the records that repeat one that was reported, or one further up in the list, and
    /// remembers the rest.
    void supressDuplicateHangouts(std::list<STBCompressedEvent>& records);

    /// Would a record with this key be a repeat?
    bool contains(const RecordKey& key) const {
        const Slot* const known = keys_.find(key);
        return known != nullptr && known->remembers(spanOf(key));
    }
    /// Remembers a record. True when it repeats one that was reported.
    bool isDuplicateHangout(const RecordKey& key);
    void prefetch(const RecordKey& key) const { keys_.prefetch(key); }
    std::uint64_t size() const { return keys_.size(); }
    /// Is it more than stays in the machine's own cache, so that a prefetch is worth it?
    bool isLarge() const { return size() > kInCache; }

    /// Calls with each remembered record; it stays in its place until another is remembered.
    template <typename Visit>
    void forEach(Visit visit) const {
        keys_.forEach(visit);
    }

    /// Forgets the records for whose key `isDone` holds, as if they had never been reported.
    template <typename IsDone>
    void forget(IsDone isDone) {
        keys_.eraseIf([&isDone](const Slot& slot) { return isDone(slot.key()); });
    }

private:
    static constexpr std::uint64_t kInCache = 10000;

    static Span spanOf(const RecordKey& key) { return {key.start, key.end}; }

    FlatTable<Slot> keys_;
};

} // namespace qorvel_detail

#endif
