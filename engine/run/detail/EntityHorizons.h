#ifndef QORVEL_ENGINE_RUN_DETAIL_ENTITYHORIZONS_H
#define QORVEL_ENGINE_RUN_DETAIL_ENTITYHORIZONS_H

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

namespace qorvel_engine::detail {

/// As Horizon, for the rows of each entity by themselves: how late they may be is then nothing to
/// the order of entities, and one that comes whole after another is not late.
class EntityHorizons {
public:
    /// @param late   ms; none: as long as the caller does not know better, `usual`
    EntityHorizons(std::optional<std::int64_t> late, std::int64_t usual)
        : late_(late.value_or(usual)), isPromised_(late.has_value()) {}

    /// What a row says of those of its entity to come.
    /// @param newest         time of the entity's newest row up to this one
    /// @param isOldestKnown  it need not be relied upon, if it was not promised
    std::int64_t oldestToCome(std::uint64_t eid, std::int64_t newest, bool isOldestKnown) {
        if (eid >= oldest_.size()) {
            oldest_.resize(eid + 1); // no time is negative
        }
        if (isPromised_ || !isOldestKnown) {
            oldest_[eid] = std::max(oldest_[eid], newest - late_);
        }
        return oldest_[eid];
    }

    /// What it returned last of the entity; 0 if it was not asked.
    std::int64_t oldestOf(std::uint64_t eid) const {
        return eid < oldest_.size() ? oldest_[eid] : 0;
    }
    /// The same as if it had returned that.
    void set(std::uint64_t eid, std::int64_t oldest) {
        if (eid >= oldest_.size()) {
            oldest_.resize(eid + 1);
        }
        oldest_[eid] = oldest;
    }
    /// As if it had been asked of none.
    void forget() { oldest_.clear(); }

private:
    std::int64_t late_;
    bool isPromised_;
    std::vector<std::int64_t> oldest_; ///< by entity, what was returned last
};

} // namespace qorvel_engine::detail

#endif
