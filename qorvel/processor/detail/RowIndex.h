#ifndef QORVEL_PROCESSOR_DETAIL_ROWINDEX_H
#define QORVEL_PROCESSOR_DETAIL_ROWINDEX_H

#include "qorvel/base/FlatTable.h"
#include "qorvel/geohash/detail/Cell.h"
#include "qorvel/model/Event.h"
#include "qorvel/model/STBAssignmentRow.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace qorvel_detail {

/// Finds the rows that may apply to an event by its keys and the cells that hold it, so that an
/// event costs what its own rows cost, however many rows and cells there are.
///
/// It never misses a row that applies, and each candidate, whose keys are the event's, still has to
/// pass the row tests. That is why it cannot be seen from outside.
class RowIndex {
public:
    /// Numbers ascend from call to call.
    void add(std::uint32_t number, const STBAssignmentRow& row);

    /// True when every candidate has a cell that holds the event. Rows with many different depths
    /// of cells make the index give up on some of them, and then the area test has to be made.
    bool decidesArea() const { return decidesArea_; }

    /// What candidates depend on of an event's cell, beside its keys.
    Cell finestCell(const Cell& ownCell) const {
        return significant(ownCell.first, ownCell.second, finestDepth_);
    }

    /// Calls `visit` with the number of each candidate, ascending, each once.
    template <typename Visit>
    void forEachCandidate(const Event& event, const Cell& ownCell, Visit visit) const {
        Candidates candidates = find(event, ownCell);
        while (candidates.count > 0) {
            visit(candidates.takeLowest());
        }
    }

private:
    /// More cell depths than this are rare; rows with others are candidates everywhere.
    static constexpr std::size_t kMaxDepths = 8;

    using RowNumbers = std::vector<std::uint32_t>;

    struct Key {
        std::int32_t primaryKeyId;
        std::int32_t secondaryKeyId;
        /// A significant cell.
        Cell cell;

        bool operator==(const Key&) const = default;
    };

    /// In the table.
    struct Slot {
        using Key = RowIndex::Key;

        Key where{};
        RowNumbers rows;
        bool used = false;

        bool isUsed() const { return used; }
        const Key& key() const { return where; }
        bool holds(const Key& key) const { return where == key; }
        void occupy(const Key& key) {
            where = key;
            used = true;
        }
        static std::uint64_t hash(const Key& key);
    };

    /// Ascending runs of row numbers, merged as they are taken.
    struct Candidates {
        struct Run {
            const std::uint32_t* next;
            const std::uint32_t* end;
        };
        std::array<Run, 2 * (kMaxDepths + 1)> runs;
        std::size_t count = 0;

        void add(const RowNumbers& rows);
        std::uint32_t takeLowest();
    };

    Candidates find(const Event& event, const Cell& ownCell) const;
    std::uint32_t indexedDepth(std::uint32_t depth);

    FlatTable<Slot> rows_;
    std::array<std::uint32_t, kMaxDepths + 1> depths_{};
    std::size_t depthCount_ = 0;
    std::uint32_t finestDepth_ = 0;
    bool decidesArea_ = true;
};

} // namespace qorvel_detail

#endif
