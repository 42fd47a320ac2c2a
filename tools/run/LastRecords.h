#ifndef QORVEL_TOOLS_RUN_LASTRECORDS_H
#define QORVEL_TOOLS_RUN_LASTRECORDS_H

#include "engine/setup/Tables.h"
#include "tools/setup/engineNames.h"

#include "qorvel/qorvel.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <vector>

namespace host {

/// What makes a record a repeat of another: it is of the same entity, spec key, cell and time box.
struct RecordKey {
    explicit RecordKey(const STBCompressedEvent& record)
        : eid(record.eid), specPrimaryKeyId(record.specPrimaryKeyId), stb(record.stb) {}

    bool operator==(const RecordKey&) const = default;

    std::uint64_t eid;
    std::uint32_t specPrimaryKeyId;
    SpaceTimeBox stb;
};

struct RecordKeyHash {
    std::size_t operator()(const RecordKey& key) const;
};

/// All records of a configuration, repeats included.
///
/// A processor reports each record once, with the figures of that moment. Here a record comes again
/// at every event that goes on with it, so that the last one to come has the last figures. It
/// drives detectors of its own as the processor does: every row that applies, in list order, leads
/// to the specs of its master row, and equal specs share a detector.
class LastRecords {
public:
    /// Of a record, which may be moved from, and of the spec that found it.
    using Visit = std::function<void(STBCompressedEvent&, const STBCompressionSpec&)>;

    /// The library is for presence or hangouts, and must outlive this.
    explicit LastRecords(const Tables& library);

    /// Calls `visit` with what the event establishes. The records whose RecordKey comes for the
    /// first time are those that the processor reports, in the same order.
    void take(const Event& event, const Visit& visit);

    /// As MotionProcessor::gc.
    void collect(std::int64_t time);

private:
    /// A spec and its detector.
    struct Route {
        const STBCompressionSpec* spec;
        HangoutDetector* detector;
    };

    /// An assignment row, and how to ask whether it applies.
    class Row {
    public:
        Row(const STBAssignmentRow& assignment, const STBMasterRow& master);

        bool appliesTo(const Event& event) const;

        const STBAssignmentRow& assignment;
        const STBMasterRow& master;
        std::vector<Route> routes;

    private:
        bool isEverywhere_;
        MotionProcessor probe_; ///< only ever copied
    };

    HangoutDetector& detectorOf(const STBCompressionSpec& spec);
    void process(const Event& event, const Row& row, const Route& route);

    ProcessorKind use_;
    std::deque<HangoutDetector> detectors_; ///< never moved
    std::vector<Route> routes_;             ///< of all specs
    std::vector<Row> rows_;
    std::list<STBCompressedEvent> records_;
};

} // namespace host

#endif
