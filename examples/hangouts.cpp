#include "qorvel/qorvel.h"

#include <iostream>

// Ada's phone reports every five minutes from one spot; after ten minutes she has a hangout there.
int main() {
    using Api = QorvelMotionProcessorAPI;
    std::stringstream errors;
    STBMasterRow boxes; // cells of 7 geohash characters by boxes of one hour
    Api::createSTBMasterRow("stays", 7, 1, "hours", boxes, errors);
    STBAssignmentRow phones; // fixes good to 100 m, at most 50 km from the town's centre
    Api::createSTBAssignmentRow("ANY", "phone", 100, 0, "stays", {}, 47.37, 8.54, 50e3, 1, 1,
                                phones, errors);
    STBCompressionSpec stay; // ten minutes without leaving a cell, and three fixes in a box
    Api::createHangoutSpec("ANY", "phone", "stays", 10, "minutes", 3, 1, stay, errors);
    MotionProcessor processor;
    if (Api::createMotionProcessorForHangouts({boxes}, {phones}, {stay}, processor, errors) != 0) {
        std::cerr << errors.str() << '\n';
        return 1;
    }
    for (std::int64_t minute = 0; minute <= 20; minute += 5) {
        Event fix; // on 2021-03-17 from 12:00 UTC, good to 15 m
        const std::int64_t time = 1615982400000 + minute * 60000;
        Api::createEvent("person", "Ada", "phone", 47.3696, 8.5398, 15, time, 0, fix, errors);
        std::list<STBCompressedEvent> found; // a fresh list for every event
        Api::processEventForHangouts(fix, processor, found, errors);
        for (const STBCompressedEvent& hangout : found) {
            std::string cell;
            Api::toString(hangout.stb, cell, errors);
            std::cout << EIDName::getEIDNameStr(hangout.eid) << " stays in cell " << cell
                      << ", known at minute " << minute << '\n';
        }
    }
}
