#include "tagSentences.h"

#include "qorvel/qorvel.h"

#include <iostream>

// Three mistakes in a configuration, and what a host can tell its user about them.

namespace {

using Api = QorvelMotionProcessorAPI;

void tell(const char* what, int code, std::stringstream& errors) {
    std::cout << what << ": code " << code << '\n';
    for (const std::string& sentence : sentencesForTags(errors.str())) {
        std::cout << "  " << sentence << '\n';
    }
    errors = std::stringstream(); // the library only ever appends
}

} // namespace

int main() {
    std::stringstream errors;
    STBMasterRow boxes; // "hour" is no unit
    tell("boxes of 1 hour", Api::createSTBMasterRow("stays", 7, 1, "hour", boxes, errors), errors);
    tell("boxes of 1 hours", Api::createSTBMasterRow("stays", 7, 1, "hours", boxes, errors),
         errors);

    STBAssignmentRow phones; // latitude and longitude of Tokyo the wrong way round, "la" for a cell
    tell("row",
         Api::createSTBAssignmentRow("ANY", "phone", 100, 0, "stays", {"la"}, 139.7, 35.7, 50e3, 1,
                                     1, phones, errors),
         errors);

    STBCompressionSpec stay; // as long as the box, and of a master row that no one gave
    Api::createHangoutSpec("ANY", "phone", "stays", 60, "minutes", 3, 1, stay, errors);
    STBCompressionSpec visit;
    Api::createHangoutSpec("ANY", "phone", "visits", 10, "minutes", 3, 1, visit, errors);
    MotionProcessor processor;
    tell("processor",
         Api::createMotionProcessorForHangouts({boxes}, {phones}, {stay, visit}, processor, errors),
         errors);

    errors << "ERROR_OF_TOMORROW_1,";
    tell("a tag that this table does not know", -99, errors);
}
