#include "tools/run/LastRecords.h"

#include <algorithm>
#include <limits>

namespace host {

namespace {

/// Does a row take all places and primary keys? Most configurations have but one row, and that is
/// such a one; asking the library costs a processor.
bool takesAllPlaces(const STBAssignmentRow& row) {
    return row.primaryKeyId == 0 && row.latitude == 0.0 && row.longitude == 0.0 &&
           row.radius >= Config::Assignment::kWholeEarth &&
           std::any_of(row.spaceBoxes.begin(), row.spaceBoxes.end(),
                       [](const SpaceBox& box) { return box.getGeoHashBitDepth() == 0; });
}

/// A processor that has a detector as soon as the row applied to an event, even to one that no cell
/// holds.
MotionProcessor makeProbe(const STBAssignmentRow& row, const STBMasterRow& master) {
    constexpr std::uint32_t kNever = std::numeric_limits<std::uint32_t>::max();
    const STBCompressionSpec spec(0, 0, static_cast<std::uint32_t>(master.masterId), 1, kNever, 1);
    return MotionProcessor({master}, {row}, {spec});
}

const STBMasterRow& masterOf(const STBAssignmentRow& row, const Tables& library) {
    return *std::find_if(
        library.masters().begin(), library.masters().end(),
        [&row](const STBMasterRow& master) { return master.masterId == row.masterId; });
}

bool takes(const STBCompressionSpec& spec, const Event& event) {
    return spec.primaryKeyId == 0 ||
           spec.primaryKeyId == static_cast<std::uint32_t>(event.primaryKeyId);
}

} // namespace

std::size_t RecordKeyHash::operator()(const RecordKey& key) const {
    const std::uint64_t owner = key.eid << 8 ^ key.specPrimaryKeyId;
    return static_cast<std::size_t>(owner * 0x9E3779B97F4A7C15U ^ hash_SpaceTimeBox()(key.stb));
}

LastRecords::Row::Row(const STBAssignmentRow& theAssignment, const STBMasterRow& theMaster)
    : assignment(theAssignment), master(theMaster), isEverywhere_(takesAllPlaces(theAssignment)),
      probe_(makeProbe(theAssignment, theMaster)) {}

bool LastRecords::Row::appliesTo(const Event& event) const {
    if (assignment.secondaryKeyId != event.secondaryKeyId) {
        return false;
    }
    if (isEverywhere_ && assignment.maxSpaceTolerance >= event.spaceTolerance &&
        assignment.maxTimeTolerance >= event.timeTolerance) {
        return true;
    }
    MotionProcessor probe(probe_);
    std::list<STBCompressedEvent> none;
    probe.processEventForPresenceCompression(event, none);
    return probe.getDetectorCount() > 0;
}

LastRecords::LastRecords(const Tables& library) : use_(library.kind()) {
    for (const STBCompressionSpec& spec : library.specs()) {
        routes_.push_back({&spec, &detectorOf(spec)});
    }
    for (const STBAssignmentRow& assignment : library.assignments()) {
        Row row(assignment, masterOf(assignment, library));
        std::copy_if(routes_.begin(), routes_.end(), std::back_inserter(row.routes),
                     [&row](const Route& route) {
                         return route.spec->masterId ==
                                static_cast<std::uint32_t>(row.master.masterId);
                     });
        rows_.push_back(row);
    }
}

HangoutDetector& LastRecords::detectorOf(const STBCompressionSpec& spec) {
    const auto equal = std::find_if(routes_.begin(), routes_.end(),
                                    [&spec](const Route& route) { return *route.spec == spec; });
    return equal == routes_.end() ? detectors_.emplace_back() : *equal->detector;
}

void LastRecords::take(const Event& event, const Visit& visit) {
    for (const Row& row : rows_) {
        if (!row.appliesTo(event)) {
            continue;
        }
        for (const Route& route : row.routes) {
            if (takes(*route.spec, event)) {
                process(event, row, route);
                for (STBCompressedEvent& record : records_) {
                    visit(record, *route.spec);
                }
            }
        }
    }
}

void LastRecords::process(const Event& event, const Row& row, const Route& route) {
    records_.clear();
    const auto operation = use_ == ProcessorKind::hangouts
                               ? &HangoutDetector::processEventDwellTime
                               : &HangoutDetector::processEventPresenceCompression;
    (route.detector->*operation)(event, row.assignment.timeToleranceFactor,
                                 row.assignment.spaceToleranceFactor, *route.spec,
                                 row.master.stbSpec, records_);
}

void LastRecords::collect(std::int64_t time) {
    for (HangoutDetector& detector : detectors_) {
        detector.gc(time);
    }
}

} // namespace host
