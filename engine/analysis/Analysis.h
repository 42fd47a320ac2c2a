#ifndef QORVEL_ENGINE_ANALYSIS_ANALYSIS_H
#define QORVEL_ENGINE_ANALYSIS_ANALYSIS_H

#include "engine/analysis/LastResults.h"
#include "engine/analysis/Remark.h"
#include "engine/analysis/SeenFix.h"
#include "engine/columns/EntityNames.h"
#include "engine/columns/ResultTable.h"

#include "qorvel/model/Event.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qorvel_engine {

namespace detail {
class EventTable;
class StateReader;
class StateWriter;
} // namespace detail

/// One row on its way through an analysis. The event's `eid` is the number of the entity in the
/// session's dictionary, its `sequenceNumber` the number of the row.
struct Observation {
    const qorvel::Event& event;
    std::uint64_t row; ///< its number in the input, from 0, bad rows included

    /// By what is promised, no row of the entity to come has an earlier time, ms since 1970 UTC. It
    /// never descends. 0, as the next, where the analysis does not ask for it.
    std::int64_t oldestToCome = 0;
    bool isLate = false; ///< later than was promised or known
};

/// Where a shard puts what it finds in the current row. What is put here is handed on in the order
/// of the input, whatever the number of threads.
class Found {
public:
    virtual ~Found() = default;

    /// Results are appended here.
    virtual ResultTable& results() = 0;

    /// A fix, to be handed to Analysis::see.
    virtual void add(const SeenFix& fix) = 0;
};

/// What a shard keeps, entity by entity, to be written into a state. Good until the shard is used
/// again.
class ShardSnapshot {
public:
    virtual ~ShardSnapshot() = default;

    /// False, and nothing is written, where nothing is kept of the entity. The bytes hang on what
    /// is kept alone: not on the shard, or on the order in hash tables.
    virtual bool save(std::uint64_t eid, detail::StateWriter& out) const = 0;
};

/// The work of a shard that keeps nothing from row to row, see Analysis::lookBack.
class TableFinder {
public:
    virtual ~TableFinder() = default;

    /// Finds in the rows from..to of a table, in each by itself.
    virtual void find(const detail::EventTable& table, std::size_t from, std::size_t to,
                      Found& found) = 0;
};

/// The work on the entities of one shard: all rows of an entity come to the same shard, in the
/// order of the input. Used by one thread at a time.
///
/// Whatever is kept from row to row goes through `snapshot` and `load`, each part with a `save` and
/// a `load` of its own: a state is complete, or results differ after it. What is new in them raises
/// the version of the format (docs/state-format.md) and gets a golden file.
class Shard {
public:
    virtual ~Shard() = default;

    /// Where something is kept from row to row.
    virtual void take(const Observation&, Found&) {}

    /// What takes the rows in its place where nothing is, else null.
    virtual TableFinder* byTables() { return nullptr; }

    /// Rows of these entities come soon, of the last one first: what is kept of them may be fetched
    /// ahead from memory. What tells where the next thing is has come from one call to the next.
    virtual void fetch(std::uint64_t, std::uint64_t, std::uint64_t) const {}

    /// Forgets what ended before this time (ms since 1970 UTC); adds what is final by that alone,
    /// sorted. Always at the same places between the same rows.
    virtual void collect(std::int64_t time, LastResults& results) = 0;

    /// After the last row.
    virtual void finish(LastResults&) {}

    /// Null where nothing is kept.
    virtual std::unique_ptr<ShardSnapshot> snapshot() const { return nullptr; }
    /// Takes what a snapshot wrote, for an entity of which nothing is kept. Bytes may be anything:
    /// the reader is not good after those that it cannot take.
    virtual void load(std::uint64_t eid, detail::StateReader& in);
    /// Forgets all that is kept of these entities, which ascend.
    virtual void forgetEntities(const std::vector<std::uint64_t>&) {}
    /// Forgets which results it gave, of those that no row from that time on, ms, can bring again.
    virtual void forgetReportedBefore(std::int64_t) {}
};

/// What a session does with events.
class Analysis {
public:
    virtual ~Analysis() = default;

    /// An empty table for its results.
    virtual ResultTable makeTable(std::shared_ptr<const EntityNames> names) const = 0;

    virtual std::unique_ptr<Shard> makeShard() const = 0;

    /// Whether the work is to end soon; before the first row. Calls that may take long look at it,
    /// and throw the Fault `cancelled`.
    virtual void watch(const std::atomic<bool>&) {}

    /// How many threads its calls may take, the calling one included, from 1; before the first row.
    virtual void useThreads(unsigned) {}

    /// How far before an event's time it may lean on earlier events, ms; none of it if negative:
    /// then nothing need be collected, ever, and rows come to any shards, many at once.
    virtual std::int64_t lookBack() const = 0;

    /// How far a row may lie behind the newest one of its entity, ms, where nothing is promised.
    /// None: what counts is the newest row of all. Where there is such a time, observations tell
    /// what is promised, and shards collect what the caller knows.
    virtual std::optional<std::int64_t> lateInEntity() const { return std::nullopt; }

    /// Rows less accurate than this are left out, metres; none: they are not.
    virtual std::optional<double> worstAccuracy() const { return std::nullopt; }

    /// Whether the rows of an entity give other results in another order than that of time.
    virtual bool dependsOnOrder() const { return true; }

    /// Takes the fixes that shards added, one after another in the order of the input, whatever the
    /// number of threads.
    virtual void see(const SeenFix&) {}

    /// As Shard::collect, for what `see` keeps; in order with its calls.
    virtual void collect(std::int64_t, const EntityNames&, LastResults&) {}

    /// After the last row: what `see` has gathered.
    virtual void finish(const EntityNames&, LastResults&) {}

    /// Can what is kept be told entity by entity, so that some can go on elsewhere?
    virtual bool isByEntity() const { return true; }

    /// What `see` keeps, as ShardSnapshot::save and Shard::load. Nothing is taken of bytes that
    /// cannot be.
    /// @param entities  how many there are: their numbers are below it
    virtual void save(detail::StateWriter&) const {}
    virtual void load(detail::StateReader&, std::uint64_t /*entities*/) {}

    /// What there is to say about it after the last row.
    virtual std::vector<Remark> remarks() const { return {}; }
};

} // namespace qorvel_engine

#endif
