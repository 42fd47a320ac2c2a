#include "engine/analysis/detail/StayBuilder.h"

#include <algorithm>

namespace qorvel_engine::detail {

void StayBuilder::add(const Visit& visit) {
    from_ = std::min(from_, visit.covered.first);
    to_ = std::max(to_, visit.covered.last);
    row_ = std::min(row_, visit.row);
    pieces_.insert(pieces_.end(), visit.pieces.begin(), visit.pieces.end());
    const auto known = std::find_if(cells_.begin(), cells_.end(), [&visit](const auto& cell) {
        return cell.first == visit.cell;
    });
    (known == cells_.end() ? cells_.emplace_back(visit.cell, 0) : *known).second +=
        visit.fixCount();
}

Stay StayBuilder::build(const Owner& owner) {
    const auto place =
        std::max_element(cells_.begin(), cells_.end(), [](const auto& left, const auto& right) {
            return left.second < right.second;
        });
    std::iter_swap(cells_.begin(), place);
    Stay stay{owner, from_, to_, row_, countFixes(), {}};
    for (const auto& cell : cells_) {
        stay.cells.push_back(cell.first);
    }
    return stay;
}

/// Each once.
std::uint64_t StayBuilder::countFixes() {
    std::sort(pieces_.begin(), pieces_.end(),
              [](const Fixes& left, const Fixes& right) { return left.first < right.first; });
    std::uint64_t count = 0;
    std::uint64_t end = 0;
    for (const Fixes& piece : pieces_) {
        count += std::max(end, piece.end) - std::max(end, piece.first);
        end = std::max(end, piece.end);
    }
    return count;
}

} // namespace qorvel_engine::detail
