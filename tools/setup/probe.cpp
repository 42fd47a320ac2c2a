#include "tools/setup/probe.h"

#include "tools/setup/Config.h"

#include <limits>
#include <list>

namespace host {

namespace {

/// A row that takes the event.
STBAssignmentRow rowFor(const Event& event) {
    return {0,
            event.secondaryKeyId,
            std::numeric_limits<double>::infinity(),
            std::numeric_limits<std::uint32_t>::max(),
            0,
            {SpaceBox()},
            0.0,
            0.0,
            Config::Assignment::kWholeEarth,
            1.0,
            1.0};
}

/// Gives `target` what the test looks at.
void copyTested(RowTest test, const STBAssignmentRow& row, STBAssignmentRow& target) {
    switch (test) {
    case RowTest::primaryKey:
        target.primaryKeyId = row.primaryKeyId;
        break;
    case RowTest::secondaryKey:
        target.secondaryKeyId = row.secondaryKeyId;
        break;
    case RowTest::spaceTolerance:
        target.maxSpaceTolerance = row.maxSpaceTolerance;
        break;
    case RowTest::timeTolerance:
        target.maxTimeTolerance = row.maxTimeTolerance;
        break;
    case RowTest::distance:
        target.latitude = row.latitude;
        target.longitude = row.longitude;
        target.radius = row.radius;
        break;
    case RowTest::area:
        target.spaceBoxes = row.spaceBoxes;
    }
}

} // namespace

bool passes(RowTest test, const STBAssignmentRow& row, const Event& event) {
    STBAssignmentRow single = rowFor(event);
    copyTested(test, row, single);
    return takes(single, event);
}

bool takes(const STBAssignmentRow& row, const Event& event) {
    const STBCompressionSpec any(0, 0, static_cast<std::uint32_t>(row.masterId), 1, 1, 1.0);
    return reaches(row, any, event);
}

bool reaches(const STBAssignmentRow& row, const STBCompressionSpec& spec, const Event& event) {
    // The first event that reaches a spec makes its detector, also where no cell holds the event.
    MotionProcessor processor({STBMasterRow(row.masterId, SpaceTimeBoxSpec())}, {row}, {spec});
    std::list<STBCompressedEvent> records;
    processor.processEventForPresenceCompression(event, records);
    return processor.getDetectorCount() != 0;
}

bool reachesByKeys(const STBAssignmentRow& row, const STBCompressionSpec& spec,
                   const Event& event) {
    STBAssignmentRow open = rowFor(event);
    open.primaryKeyId = row.primaryKeyId;
    open.secondaryKeyId = row.secondaryKeyId;
    open.masterId = row.masterId;
    return reaches(open, spec, event);
}

bool canReach(const STBAssignmentRow& row, const STBCompressionSpec& spec) {
    Event event;
    event.secondaryKeyId = row.secondaryKeyId;
    event.primaryKeyId = row.primaryKeyId;
    if (reachesByKeys(row, spec, event)) {
        return true;
    }
    event.primaryKeyId = static_cast<std::int32_t>(spec.primaryKeyId);
    return reachesByKeys(row, spec, event);
}

} // namespace host
