#ifndef QORVEL_ENGINE_ANALYSIS_ANALYSIS_H
#define QORVEL_ENGINE_ANALYSIS_ANALYSIS_H

#include "engine/analysis/LastResults.h"
#include "engine/columns/EntityNames.h"
#include "engine/columns/ResultTable.h"

#include "qorvel/model/Event.h"
#include "qorvel/model/SpaceTimeBox.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace qorvel_engine {

/// One row on its way through an analysis. The event's `eid` is the number of the entity in the
/// session's dictionary, its `sequenceNumber` the number of the row.
struct Observation {
    const qorvel::Event& event;
    std::uint64_t row; ///< its number in the input, from 0, bad rows included
};

/// A box that an event lies in.
struct SeenBox {
    std::uint64_t eid; ///< the entity's number in the session's dictionary
    qorvel::SpaceTimeBox stb;
    std::int64_t time; ///< of the event, ms
    std::uint64_t row; ///< as in Observation
};

/// Where a shard puts what it finds in the current row. What is put here is handed on in the order
/// of the input, whatever the number of threads.
class Found {
public:
    virtual ~Found() = default;

    /// Results are appended here.
    virtual ResultTable& results() = 0;

    /// A box, to be handed to Analysis::see.
    virtual void add(const SeenBox& box) = 0;
};

/// The work on the entities of one shard: all rows of an entity come to the same shard, in the
/// order of the input. Used by one thread at a time.
class Shard {
public:
    virtual ~Shard() = default;

    virtual void take(const Observation& observation, Found& found) = 0;

    /// Forgets what ended before this time (ms since 1970 UTC). Always at the same places between
    /// the same rows.
    virtual void collect(std::int64_t time) = 0;

    /// After the last row.
    virtual void finish(LastResults&) {}
};

/// What a session does with events.
class Analysis {
public:
    virtual ~Analysis() = default;

    /// An empty table for its results.
    virtual ResultTable makeTable(std::shared_ptr<const EntityNames> names) const = 0;

    virtual std::unique_ptr<Shard> makeShard() const = 0;

    /// How far before an event's time it may lean on earlier events, ms; none of it if negative:
    /// then nothing need be collected, ever.
    virtual std::int64_t lookBack() const = 0;

    /// Whether the rows of an entity give other results in another order than that of time.
    virtual bool dependsOnOrder() const { return true; }

    /// Takes the boxes that shards added, one after another in the order of the input, whatever the
    /// number of threads.
    virtual void see(const SeenBox&) {}

    /// As Shard::collect, for what `see` keeps; in order with its calls.
    virtual void collect(std::int64_t) {}

    /// After the last row: what `see` has gathered.
    virtual void finish(const EntityNames&, LastResults&) {}

    /// What there is to say about it after the last row, a sentence each.
    virtual std::vector<std::string> remarks() const { return {}; }
};

} // namespace qorvel_engine

#endif
