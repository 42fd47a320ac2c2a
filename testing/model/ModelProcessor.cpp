#include "testing/model/ModelProcessor.h"

#include "qorvel/base/bits.h"
#include "qorvel/geohash/SpaceBox.h"
#include "qorvel/geohash/UtilG2.h"

#include <algorithm>
#include <array>
#include <unordered_set>

namespace model {

namespace {

/// One or two boxes: that of the time less its margin, and the one from the start of the event's
/// own box to the end of the box of the time plus its margin.
std::uint32_t timeBoxesOf(const Event& event, double factor, const TimeBoxSpec& spec,
                          std::array<TimeBox, 2>& boxes) {
    const std::uint32_t margin =
        qorvel_detail::truncateToUint32(static_cast<double>(event.timeTolerance) * factor);
    const std::int64_t early = qorvel_detail::wrappingSubtract(event.time, margin);
    const std::int64_t late = qorvel_detail::wrappingAdd(event.time, margin);
    boxes[0] = TimeBox(spec.getTimeBoxStart(early), spec.getTimeBoxEnd(early));
    boxes[1] = TimeBox(spec.getTimeBoxStart(event.time), spec.getTimeBoxEnd(late));
    return boxes[0] == boxes[1] ? 1 : 2;
}

SpaceBox eventBoxOf(const Event& event) {
    SpaceBox box; // stays as it is where the point cannot be encoded
    pointToSpaceBox(event.latitude, event.longitude, box);
    return box;
}

} // namespace

ModelProcessor::ModelProcessor(const std::list<STBMasterRow>& masterRows,
                               const std::list<STBAssignmentRow>& assignmentRows,
                               const std::list<STBCompressionSpec>& compressionSpecs)
    : assignmentRows_(assignmentRows), compressionSpecs_(compressionSpecs) {
    for (const STBMasterRow& row : masterRows) {
        masterRows_.insert({static_cast<std::uint32_t>(row.masterId), row});
    }
}

bool ModelProcessor::rowApplies(const STBAssignmentRow& row, const Event& event,
                                const SpaceBox& eventBox) {
    if (row.primaryKeyId != 0 && row.primaryKeyId != event.primaryKeyId) {
        return false;
    }
    if (row.secondaryKeyId != event.secondaryKeyId) {
        return false;
    }
    if (!(row.maxSpaceTolerance >= event.spaceTolerance)) {
        return false;
    }
    if (row.maxTimeTolerance < event.timeTolerance) {
        return false;
    }
    if (!UtilG2::nearFilter(event.latitude, event.longitude, row.latitude, row.longitude,
                            row.radius)) {
        return false;
    }
    return std::any_of(row.spaceBoxes.begin(), row.spaceBoxes.end(), [&](const SpaceBox& box) {
        return eventBox.equals(box, box.getGeoHashBitDepth());
    });
}

template <class Box, class MakeBox>
bool ModelProcessor::generate(const Event& event, std::list<Box>& out, MakeBox makeBox) const {
    std::unordered_set<Box, hash_SpaceTimeBox> seen;
    std::list<Box> inserted; // the set's elements in the order of their insertion
    SpaceBox eventBox = eventBoxOf(event);
    for (const STBAssignmentRow& row : assignmentRows_) {
        if (!rowApplies(row, event, eventBox)) {
            continue;
        }
        const auto master = masterRows_.find(static_cast<std::uint32_t>(row.masterId));
        if (master == masterRows_.end()) {
            continue;
        }
        const SpaceTimeBoxSpec spec = master->second.stbSpec;
        eventBox.setGeoHashBitDepth(spec.geoHashBitDepth);
        std::array<TimeBox, 2> timeBoxes;
        const std::uint32_t timeCount =
            timeBoxesOf(event, row.timeToleranceFactor, spec, timeBoxes);
        CellArray spaceBoxes;
        std::uint32_t spaceCount = 0;
        pointToSpaceBoxes(event.latitude, event.longitude, spec.geoHashBitDepth,
                          event.spaceTolerance * row.spaceToleranceFactor, spaceBoxes, spaceCount);
        for (std::uint32_t i = 0; i < spaceCount; ++i) {
            for (std::uint32_t j = 0; j < timeCount; ++j) {
                const Box box = makeBox(row, spaceBoxes[i], timeBoxes[j]);
                if (seen.insert(box).second) {
                    inserted.push_back(box);
                }
            }
        }
    }
    out.splice(out.begin(), inserted);
    return true;
}

bool ModelProcessor::getSTB(const Event& event, std::list<SpaceTimeBox>& out) const {
    return generate(event, out,
                    [](const STBAssignmentRow&, const SpaceBox& cell, const TimeBox& time) {
                        return SpaceTimeBox(cell, time);
                    });
}

bool ModelProcessor::getExtendedSTB(const Event& event, std::list<ExtendedSTB>& out) const {
    return generate(event, out,
                    [](const STBAssignmentRow& row, const SpaceBox& cell, const TimeBox& time) {
                        return ExtendedSTB(static_cast<std::uint32_t>(row.masterId), cell, time);
                    });
}

bool ModelProcessor::processEventForPresenceCompression(const Event& event,
                                                        std::list<STBCompressedEvent>& out) {
    return process(event, out, &ModelDetector::processEventPresenceCompression);
}

bool ModelProcessor::processEventForHangout(const Event& event,
                                            std::list<STBCompressedEvent>& out) {
    return process(event, out, &ModelDetector::processEventDwellTime);
}

bool ModelProcessor::process(const Event& event, std::list<STBCompressedEvent>& out,
                             Operation operation) {
    const SpaceBox eventBox = eventBoxOf(event);
    for (const STBAssignmentRow& row : assignmentRows_) {
        if (!rowApplies(row, event, eventBox)) {
            continue;
        }
        const auto master = masterRows_.find(static_cast<std::uint32_t>(row.masterId));
        if (master == masterRows_.end()) {
            continue;
        }
        for (const STBCompressionSpec& spec : compressionSpecs_) {
            const auto eventKey = static_cast<std::uint32_t>(event.primaryKeyId);
            if (spec.primaryKeyId != 0 && spec.primaryKeyId != eventKey) {
                continue;
            }
            if (spec.masterId != static_cast<std::uint32_t>(row.masterId)) {
                continue;
            }
            const SpaceTimeBoxSpec stbSpec = master->second.stbSpec;
            (detectorOf(spec).*operation)(event, row.timeToleranceFactor, row.spaceToleranceFactor,
                                          spec, stbSpec, out);
        }
    }
    supressDuplicateHangouts(out);
    return true;
}

ModelDetector& ModelProcessor::detectorOf(const STBCompressionSpec& spec) {
    const auto found = hangoutDetectors_.find(spec);
    if (found != hangoutDetectors_.end()) {
        return *found->second;
    }
    const auto detector = std::make_shared<ModelDetector>();
    hangoutDetectors_.insert({spec, detector});
    return *detector;
}

void ModelProcessor::supressDuplicateHangouts(std::list<STBCompressedEvent>& out) {
    for (auto hangout = out.begin(); hangout != out.end();) {
        hangout = isDuplicateHangout(*hangout) ? out.erase(hangout) : std::next(hangout);
    }
}

bool ModelProcessor::isDuplicateHangout(const STBCompressedEvent& hangout) {
    const HangoutKey key = {hangout.eid, hangout.specPrimaryKeyId, hangout.stb};
    const TimeBox time = hangout.stb;
    const auto found = recentHangouts_.find(key);
    if (found == recentHangouts_.end()) {
        recentHangouts_.insert({key, {time, time}});
        return false;
    }
    RecentBoxes& recent = found->second;
    if (time == recent.older || time == recent.newer) {
        return true;
    }
    recent.older = recent.newer;
    recent.newer = time;
    return false;
}

bool ModelProcessor::HangoutKey::operator==(const HangoutKey& other) const {
    return eid == other.eid && specPrimaryKeyId == other.specPrimaryKeyId && stb == other.stb;
}

std::size_t ModelProcessor::HangoutKeyHash::operator()(const HangoutKey& key) const {
    return static_cast<std::size_t>(key.eid ^ key.specPrimaryKeyId ^ hash_SpaceTimeBox()(key.stb));
}

void ModelProcessor::gc(const std::int64_t& time) {
    for (const STBCompressionSpec& spec : compressionSpecs_) {
        const auto found = hangoutDetectors_.find(spec);
        if (found != hangoutDetectors_.end()) {
            found->second->gc(time);
        }
    }
}

std::uint64_t ModelProcessor::sum(Count count) const {
    std::uint64_t total = 0;
    for (const auto& detector : hangoutDetectors_) {
        total += (*detector.second.*count)();
    }
    return total;
}

std::uint64_t ModelProcessor::getDetectorCount() const {
    return hangoutDetectors_.size();
}

std::uint64_t ModelProcessor::getRecentHangoutCount() const {
    return recentHangouts_.size();
}

std::uint64_t ModelProcessor::getEntityCount() const {
    return sum(&ModelDetector::getEntityCount);
}

std::uint64_t ModelProcessor::getCellCount() const {
    return sum(&ModelDetector::getCellCount);
}

std::uint64_t ModelProcessor::getItemCount() const {
    return sum(&ModelDetector::getItemCount);
}

} // namespace model
