#ifndef QORVEL_ENGINE_RUN_DETAIL_BATCH_H
#define QORVEL_ENGINE_RUN_DETAIL_BATCH_H

#include "engine/analysis/detail/EventTable.h"
#include "engine/columns/Observations.h"
#include "engine/run/detail/Findings.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace qorvel_engine::detail {

/// Some rows of the input on their way through the lanes.
struct Batch {
    /// A row that can be used.
    struct Entry {
        std::int64_t at; ///< its place in the columns
        std::uint64_t eid;
        std::int32_t primaryKey;
        std::int32_t secondaryKey;
        std::size_t lane;
        std::int64_t oldestToCome; ///< as in Observation
        bool isLate;               ///< as there
    };
    struct Collection {
        std::size_t entry;                          ///< in front of this one
        std::int64_t time;                          ///< what ended before it is forgotten
        std::optional<std::int64_t> reportedBefore; ///< as Shard::forgetReportedBefore, if it is
    };
    /// What a lane has to do, and what it found.
    struct Share {
        std::vector<std::size_t> entries; ///< ascending
        Findings findings;
    };

    Batch(std::size_t lanes, const ResultMaker& maker) {
        shares.reserve(lanes);
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            shares.push_back({{}, Findings(maker)});
        }
    }

    Observations columns{ObservationColumns{}};
    std::shared_ptr<const void> owner; ///< of the columns
    std::uint64_t firstRow = 0;        ///< number of the columns' first row

    /// Where nothing is kept from row to row all rows go to one lane, in place of entries: nothing
    /// has to be put in order then.
    EventTable table;
    std::size_t tableLane = 0;

    std::vector<Entry> entries;
    std::vector<Collection> collections;
    std::vector<Share> shares;   ///< by lane
    std::uint64_t number = 0;    ///< counted over those that go through the lanes
    std::size_t lanesToCome = 0; ///< that have not finished it

    /// How many rows that can be used.
    std::size_t size() const { return entries.size() + table.size(); }

    bool hasWorkFor(std::size_t lane) const {
        return !collections.empty() || !shares[lane].entries.empty() ||
               (lane == tableLane && table.size() > 0);
    }

    /// Calls `collect(number)` for each collection that stands in front of this entry.
    template <class Collect>
    void collectBefore(std::size_t entry, std::size_t& next, const Collect& collect) const {
        for (; next < collections.size() && collections[next].entry <= entry; ++next) {
            collect(next);
        }
    }

    /// For other rows; memory is kept.
    void clear() {
        table.clear();
        entries.clear();
        collections.clear();
        for (Share& share : shares) {
            share.entries.clear();
            share.findings.clear();
        }
    }
};

} // namespace qorvel_engine::detail

#endif
