#include "support.h"

#include <iostream>

// A van reports every two minutes. Where was it, hour by hour, in a few lines?

namespace {

using Api = QorvelMotionProcessorAPI;

/// At the depot from 12:40 to 13:20, then on the road to the east, about 200 m a minute.
Fix fixAt(std::int64_t minute) {
    const std::int64_t onTheRoad = minute > 80 ? minute - 80 : 0;
    return {"van", 47.3940, 8.5250 + 0.0027 * static_cast<double>(onTheRoad), 20, minute};
}

MotionProcessor makeProcessor() {
    std::stringstream errors;
    STBMasterRow hours; // cells of 6 characters, here 830 m by 610 m, by hours
    expectSuccess(Api::createSTBMasterRow("hours", 6, 1, "hours", hours, errors), errors);
    STBAssignmentRow vans; // fixes good to 100 m, at most 50 km from the town's centre
    expectSuccess(Api::createSTBAssignmentRow("ANY", "phone", 100, 0, "hours", {}, 47.37, 8.54,
                                              50e3, 1, 1, vans, errors),
                  errors);
    STBCompressionSpec seen; // three fixes within ten minutes, half of them on the side reported
    expectSuccess(
        Api::createSTBCompressionSpec("ANY", "phone", "hours", 10, "minutes", 3, 0.5, seen, errors),
        errors);
    MotionProcessor processor;
    expectSuccess(Api::createMotionProcessorForPresenceCompression({hours}, {vans}, {seen},
                                                                   processor, errors),
                  errors);
    return processor;
}

} // namespace

int main() {
    MotionProcessor processor = makeProcessor();
    int fixes = 0;
    std::size_t records = 0;
    for (std::int64_t minute = 40; minute <= 90; minute += 2, ++fixes) {
        std::list<STBCompressedEvent> found; // a fresh list for every event
        std::stringstream errors;
        Api::processEventForPresenceCompression(eventOf(fixAt(minute)), processor, found, errors);
        records += found.size();
        for (const STBCompressedEvent& presence : found) {
            std::cout << EIDName::getEIDNameStr(presence.eid) << " near " << cellOf(presence.stb)
                      << " from " << clockOf(presence.stb.start) << " to "
                      << clockOf(presence.stb.end) << ", known at "
                      << clockOf(kNoon + minute * kMinute) << " (" << presence.beforeCount
                      << " before the boundary, " << presence.afterCount << " after)\n";
        }
    }
    std::cout << fixes << " fixes, " << records << " records\n";
}
