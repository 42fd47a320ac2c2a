#include "support.h"

#include "tagSentences.h"

#include <cstdlib>
#include <iostream>

namespace {

using Api = QorvelMotionProcessorAPI;

} // namespace

void expectSuccess(int code, const std::stringstream& errors) {
    if (code == 0) {
        return;
    }
    for (const std::string& sentence : sentencesForTags(errors.str())) {
        std::cerr << sentence << '\n';
    }
    std::exit(1); // NOLINT(concurrency-mt-unsafe): before any thread starts
}

Event eventOf(const Fix& fix) {
    Event event;
    std::stringstream errors;
    expectSuccess(Api::createEvent("person", fix.who, "phone", fix.latitude, fix.longitude,
                                   fix.tolerance, kNoon + fix.minute * kMinute, 0, event, errors),
                  errors);
    return event;
}

std::string clockOf(std::int64_t time) {
    const auto twoDigits = [](std::int64_t number) {
        return (number < 10 ? "0" : "") + std::to_string(number);
    };
    const std::int64_t minutes = time / kMinute;
    return twoDigits(minutes / 60 % 24) + ':' + twoDigits(minutes % 60);
}

std::string cellOf(const SpaceBox& box) {
    std::string text;
    std::stringstream errors;
    Api::toString(box, text, errors);
    return text;
}
