#include "qorvel/processor/detail/RowIndex.h"

#include "qorvel/base/hashing.h"
#include "qorvel/processor/detail/RowTests.h"

#include <algorithm>

namespace qorvel_detail {

void RowIndex::add(std::uint32_t number, const STBAssignmentRow& row) {
    for (const SpaceBox& box : row.spaceBoxes) {
        const std::uint32_t depth = indexedDepth(box.getGeoHashBitDepth());
        const Cell cell = significant(box.getFirst64Bits(), box.getSecond64Bits(), depth);
        RowNumbers& numbers = rows_.findOrAdd({row.primaryKeyId, row.secondaryKeyId, cell}).rows;
        if (numbers.empty() || numbers.back() != number) {
            numbers.push_back(number);
        }
    }
}

/// The depth under which a cell of the given depth is filed: its own, or, when there are too many
/// depths, 0, the cell that holds every event.
std::uint32_t RowIndex::indexedDepth(std::uint32_t depth) {
    constexpr std::uint32_t everywhere = 0;
    const auto end = depths_.begin() + static_cast<std::ptrdiff_t>(depthCount_);
    if (std::find(depths_.begin(), end, depth) != end) {
        return depth;
    }
    if (depth != everywhere && depthCount_ >= kMaxDepths) {
        decidesArea_ = false;
        return indexedDepth(everywhere);
    }
    depths_[depthCount_] = depth;
    ++depthCount_;
    finestDepth_ = std::max(finestDepth_, depth);
    return depth;
}

RowIndex::Candidates RowIndex::find(const Event& event, const Cell& ownCell) const {
    Candidates candidates;
    const auto addRowsOf = [&](std::int32_t primaryKeyId, const Cell& cell) {
        const Slot* const found = rows_.find({primaryKeyId, event.secondaryKeyId, cell});
        if (found != nullptr) {
            candidates.add(found->rows);
        }
    };
    for (std::size_t i = 0; i < depthCount_; ++i) {
        const Cell cell = significant(ownCell.first, ownCell.second, depths_[i]);
        addRowsOf(event.primaryKeyId, cell);
        if (event.primaryKeyId != kAnyPrimaryKey) {
            addRowsOf(kAnyPrimaryKey, cell);
        }
    }
    return candidates;
}

/// Mixed once, since every event asks.
std::uint64_t RowIndex::Slot::hash(const Key& key) {
    constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15U; // odd
    const auto primary = static_cast<std::uint32_t>(key.primaryKeyId);
    const auto secondary = static_cast<std::uint32_t>(key.secondaryKeyId);
    const std::uint64_t keys = (std::uint64_t{primary} << 32) | secondary;
    return mix(key.cell.first ^ ((key.cell.second ^ keys * kSpread) + key.cell.depth) * kSpread);
}

void RowIndex::Candidates::add(const RowNumbers& rows) {
    runs[count] = {rows.data(), rows.data() + rows.size()};
    ++count;
}

/// Takes the lowest number from every run that begins with it: a row with several cells that hold
/// the event stands in several runs.
std::uint32_t RowIndex::Candidates::takeLowest() {
    std::uint32_t lowest = *runs[0].next;
    for (std::size_t i = 1; i < count; ++i) {
        lowest = std::min(lowest, *runs[i].next);
    }
    for (std::size_t i = count; i-- > 0;) {
        if (*runs[i].next == lowest && ++runs[i].next == runs[i].end) {
            runs[i] = runs[--count];
        }
    }
    return lowest;
}

} // namespace qorvel_detail
