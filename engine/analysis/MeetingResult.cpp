#include "engine/analysis/MeetingResult.h"

namespace qorvel_engine {

const ResultLayout<MeetingResult>& MeetingResult::layout() {
    using Layout = ResultLayout<MeetingResult>;
    static const Layout layout(
        "meetings", "two entities that shared cells and time boxes",
        {Layout::entity<&MeetingResult::entityA>("entity_a", "the one whose name comes first"),
         Layout::entity<&MeetingResult::entityB>("entity_b", "the other"),
         Layout::whole<&MeetingResult::boxes>("boxes", "", "cells and time boxes that they share"),
         Layout::whole<&MeetingResult::timeBoxes>("time_boxes", "",
                                                  "different time boxes among them"),
         Layout::time<&MeetingResult::firstTime>("first_time",
                                                 "when first both had been seen in a shared box"),
         Layout::time<&MeetingResult::lastTime>("last_time", "the same for the last shared box"),
         Layout::cell<&MeetingResult::cell>()});
    return layout;
}

} // namespace qorvel_engine
