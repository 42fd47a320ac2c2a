#include "support.h"

#include <iostream>
#include <set>
#include <unordered_map>

// Who was where somebody else was, within the same quarter of an hour? Two fixes that touch one
// space-time box say so.

namespace {

using Api = QorvelMotionProcessorAPI;

const Fix kFixes[] = {
    {"Ada", 47.36960, 8.53980, 10, 3},  // on the bridge
    {"Ben", 47.36972, 8.53981, 10, 11}, // 13 m to the north, in the next cell
    {"Cem", 47.37200, 8.54300, 10, 12}, // 360 m away
    {"Cem", 47.36961, 8.53981, 10, 19}, // on the bridge too, but later
    {"Ben", 47.36962, 8.53979, 10, 21}, // there with Cem
};

MotionProcessor makeProcessor() {
    std::stringstream errors;
    STBMasterRow quarters; // cells of 8 characters, here 26 m by 19 m, by 15 minutes
    expectSuccess(Api::createSTBMasterRow("quarters", 8, 15, "minutes", quarters, errors), errors);
    STBAssignmentRow phones; // fixes good to 25 m, at most 50 km from the town's centre
    expectSuccess(Api::createSTBAssignmentRow("ANY", "phone", 25, 0, "quarters", {}, 47.37, 8.54,
                                              50e3, 1, 1, phones, errors),
                  errors);
    MotionProcessor processor;
    expectSuccess(Api::createMotionProcessorForSTBs({quarters}, {phones}, processor, errors),
                  errors);
    return processor;
}

} // namespace

int main() {
    const MotionProcessor processor = makeProcessor();
    std::unordered_map<SpaceTimeBox, std::set<std::string>, hash_SpaceTimeBox> visitors;
    for (const Fix& fix : kFixes) {
        std::list<SpaceTimeBox> boxes;
        std::stringstream errors;
        Api::processEventForSTBs(eventOf(fix), processor, boxes, errors);
        std::cout << clockOf(kNoon + fix.minute * kMinute) << ' ' << fix.who << ", " << boxes.size()
                  << " boxes\n";
        for (const SpaceTimeBox& box : boxes) {
            for (const std::string& other : visitors[box]) {
                if (other != fix.who) {
                    std::cout << "      with " << other << " in " << cellOf(box) << ", "
                              << clockOf(box.start) << " to " << clockOf(box.end) << '\n';
                }
            }
            visitors[box].insert(fix.who);
        }
    }
}
