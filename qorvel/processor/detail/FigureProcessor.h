#ifndef QORVEL_PROCESSOR_DETAIL_FIGUREPROCESSOR_H
#define QORVEL_PROCESSOR_DETAIL_FIGUREPROCESSOR_H

#include "qorvel/base/StateReader.h"
#include "qorvel/base/StateWriter.h"
#include "qorvel/export.h"
#include "qorvel/model/Event.h"
#include "qorvel/model/STBAssignmentRow.h"
#include "qorvel/model/STBCompressionSpec.h"
#include "qorvel/model/STBMasterRow.h"
#include "qorvel/model/SpaceTimeBox.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <vector>

/// The one way by which the engine reaches into the library: what hosts get as lists of records, it
/// gets as figures, at every event if it wants. Exported, but not installed: it may change with
/// every version, and the engine's package wants the very version that it was built with.
namespace qorvel_port {

/// The tests by which an assignment row takes an event.
enum class RowTest { primaryKey, secondaryKey, spaceTolerance, timeTolerance, distance, area };

inline constexpr RowTest kRowTests[] = {RowTest::primaryKey,     RowTest::secondaryKey,
                                        RowTest::spaceTolerance, RowTest::timeTolerance,
                                        RowTest::distance,       RowTest::area};

/// Does the event pass that test of the row, whatever the others say?
QORVEL_EXPORT bool passes(RowTest test, const STBAssignmentRow& row, const Event& event);

/// Does it pass all six?
QORVEL_EXPORT bool applies(const STBAssignmentRow& row, const Event& event);

/// Does the row lead the event to the spec, as far as master and keys tell: those of row and event,
/// and the primary keys of spec and event?
QORVEL_EXPORT bool leadsTo(const STBAssignmentRow& row, const STBCompressionSpec& spec,
                           const Event& event);

/// A record as numbers, without the list of its events (see STBCompressedEvent). Good only for the
/// call that it is handed to.
struct Figures {
    std::uint64_t eid;
    const STBCompressionSpec& spec; ///< equal to the one that found it
    const SpaceTimeBox& stb;
    std::uint32_t totalCount;
    std::uint32_t beforeCount;
    std::uint32_t afterCount;
    std::int64_t firstTime; ///< of the covered event that arrived first, ms
    std::int64_t endTime;   ///< of the one that arrived last, ms, plus 1; wraps
    std::uint64_t eventCount;
    std::uint64_t firstSequenceNumber; ///< of the covered event that arrived first
    std::uint64_t lastSequenceNumber;
};

class FigureSink {
public:
    FigureSink() = default;
    FigureSink(const FigureSink&) = delete;
    FigureSink& operator=(const FigureSink&) = delete;
    virtual ~FigureSink() = default;
    virtual void take(const Figures& figures) = 0;
};

/// Events, column by column, each with as many values as there are events: fewer than 2^32. What
/// they mean is told at Event.
struct EventColumns {
    std::size_t size;
    const std::int32_t* primaryKeys;
    const std::int32_t* secondaryKeys;
    const double* latitudes;
    const double* longitudes;
    const double* spaceTolerances; ///< not negative
    const std::int64_t* times;
    std::uint32_t timeTolerance; ///< of all of them
};

/// A space-time box as numbers.
struct BoxFigures {
    std::uint64_t first;  ///< bits 1 to 64 of the cell, those beyond the depth included
    std::uint64_t second; ///< bits 65 to 128
    std::uint32_t depth;
    std::uint32_t event; ///< its number in the columns, from 0
    std::int64_t start;  ///< ms
    std::int64_t end;    ///< ms
};

/// A MotionProcessor for presence compression or for hangouts that hands on figures. Its rules, and
/// the order of what it finds, are that one's. One thread at a time; exceptions pass through.
class QORVEL_EXPORT FigureProcessor {
public:
    enum class Kind { presence, hangouts };

    enum class Wanted {
        first,     ///< each record once, when it is first established: what a processor reports
        every,     ///< each record at every event that establishes it, with the figures by then
        unfinished ///< at every event what lies near a cell, whether or not the spec has enough
    };

    /// Copies the tables and validates nothing.
    FigureProcessor(Kind kind, Wanted wanted, const std::list<STBMasterRow>& masterRows,
                    const std::list<STBAssignmentRow>& assignmentRows,
                    const std::list<STBCompressionSpec>& compressionSpecs);
    FigureProcessor(const FigureProcessor&) = delete;
    FigureProcessor& operator=(const FigureProcessor&) = delete;
    ~FigureProcessor();

    /// A new one of the same tables, of which there is but one copy. Any thread may use the one
    /// while another uses the other.
    FigureProcessor another() const;

    /// Appends each space-time box that the events touch, of each as MotionProcessor::getSTB.
    void boxes(const EventColumns& events, std::vector<BoxFigures>& out);

    /// Takes the event and calls the sink with what it establishes.
    void process(const Event& event, FigureSink& sink);

    /// Events of these entities come soon, of the last one first: what is kept of them may be
    /// fetched ahead from memory.
    void fetch(std::uint64_t later, std::uint64_t sooner, std::uint64_t soonest) const;

    /// As MotionProcessor::gc.
    void gc(std::int64_t time);

    /// Forgets which records were reported, of those that no event from that time on, ms, can bring
    /// again. Where `first` is wanted, an older one may then be told a second time.
    void forgetReportedBefore(std::int64_t time);

    /// What it keeps, entity by entity. Good until the processor is used again.
    class QORVEL_EXPORT Snapshot {
    public:
        explicit Snapshot(const FigureProcessor& processor);
        Snapshot(const Snapshot&) = delete;
        Snapshot& operator=(const Snapshot&) = delete;
        ~Snapshot();

        /// False, and nothing is written, where nothing is kept of the entity.
        bool save(std::uint64_t eid, qorvel_detail::StateWriter& out) const;

    private:
        class State;
        std::unique_ptr<State> state_;
    };

    /// Takes what a snapshot of a processor of the same tables wrote, for an entity of which
    /// nothing is kept. After what it cannot take, the reader is not good.
    void load(std::uint64_t eid, qorvel_detail::StateReader& in);

    /// Forgets all that is kept of these entities, which ascend.
    void forgetEntities(const std::vector<std::uint64_t>& eids);

private:
    class State;

    explicit FigureProcessor(std::unique_ptr<State> state);

    std::unique_ptr<State> state_;
};

} // namespace qorvel_port

#endif
