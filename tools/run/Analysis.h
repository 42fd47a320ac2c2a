#ifndef QORVEL_TOOLS_RUN_ANALYSIS_H
#define QORVEL_TOOLS_RUN_ANALYSIS_H

#include "tools/input/Fix.h"
#include "tools/output/ResultRow.h"

#include "qorvel/qorvel.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace host {

/// One row on its way through the library.
struct Observation {
    const Fix& fix;
    const Event& event;
    std::uint64_t row; ///< its number in the input, from 0, bad rows included
};

/// A box that an event lies in.
struct SeenBox {
    std::uint64_t eid; ///< the entity; EIDName knows its name
    SpaceTimeBox stb;
    std::int64_t time; ///< of the event, ms
    std::uint64_t row; ///< as in Observation
};

/// Where a shard puts what it finds in the current row. What is put here is handed on in the order
/// of the input, whatever the number of threads.
class Found {
public:
    virtual ~Found() = default;
    /// A result, to be written.
    virtual void add(const ResultRow& row) = 0;
    /// A box, to be handed to Analysis::see.
    virtual void add(const SeenBox& box) = 0;
};

/// A result that is known only at the end, with what it is sorted by.
struct LastResult {
    std::int64_t order = 0; ///< first by this, ascending
    std::uint64_t row = 0;  ///< then by this; equal ones come from one shard, which orders them
    ResultRow result;
};

/// The work on the entities of one shard: all rows of an entity come to the same shard, in the
/// order of the input. Used by one thread at a time.
class Shard {
public:
    virtual ~Shard() = default;

    virtual void take(const Observation& observation, Found& found) = 0;

    /// Forgets what ended before this time (ms since 1970 UTC). Always at the same places between
    /// the same rows, so that it may have consequences for rows that come too late.
    virtual void collect(std::int64_t time) = 0;

    /// After the last row.
    virtual void finish(std::vector<LastResult>&) {}
};

/// What a command does with events.
class Analysis {
public:
    virtual ~Analysis() = default;

    /// The columns of the results.
    virtual const Schema& schema() const = 0;

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
    virtual void finish(std::vector<LastResult>&) {}

    /// What the summary has to say about it, a sentence each.
    virtual std::vector<std::string> remarks() const { return {}; }
};

} // namespace host

#endif
