#ifndef QORVEL_TOOLS_RUN_BATCH_H
#define QORVEL_TOOLS_RUN_BATCH_H

#include "tools/input/Fix.h"
#include "tools/run/Findings.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace host {

/// Some rows of the input on their way through the shards.
struct Batch {
    struct Entry {
        Fix fix;
        std::uint64_t row = 0; ///< its number in the input, from 0, bad rows included
    };
    struct Collection {
        std::size_t entry; ///< in front of this one
        std::int64_t time; ///< what ended before it is forgotten
    };

    std::vector<Entry> entries; ///< the first `size` of them; the others are kept for their memory
    std::size_t size = 0;
    std::vector<Collection> collections;
    std::vector<std::vector<std::size_t>> entriesOf; ///< by shard
    std::vector<Findings> findings;                  ///< by shard
    bool isLive = false;          ///< whoever reads the results would otherwise wait for them
    std::size_t shardsToCome = 0; ///< shards that have not finished it

    /// Calls `collect(time)` for each collection that stands in front of this entry.
    template <typename Collect>
    void collectBefore(std::size_t entry, std::size_t& next, Collect collect) const {
        for (; next < collections.size() && collections[next].entry <= entry; ++next) {
            collect(collections[next].time);
        }
    }
};

} // namespace host

#endif
