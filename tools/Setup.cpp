#include "tools/Setup.h"

#include <limits>
#include <list>
#include <utility>

namespace host {

namespace {

using API = QorvelMotionProcessorAPI;

const std::string kAnyKey = "ANY";
const std::string kSecondaryKey;
const std::string kMasterName = "default";

/// The library's tags in words.
constexpr std::pair<const char*, const char*> kTagWords[] = {
    {"ERROR_SPACEBOXSPEC_1,", "--cell-length must be 0 to 25 characters"},
    {"ERROR_TIMEBOXSPEC_1,", "--box has an unknown unit"},
    {"ERROR_ASSIGN_2,", "--space-factor must be 0 to 1"},
    {"ERROR_ASSIGN_6,", "--time-tolerance must be 0 or 1"},
    {"ERROR_ASSIGN_7,", "--time-factor must be 0 to 1"},
    {"ERROR_COMPRESSIONSPEC_1,", "--ratio must be 0 to 1"},
    {"ERROR_MOTIONPROCESSOR_3,", "--box must be longer than --window (lengths count in 32 bits: "
                                 "2 months as 10 days, 5 months as 21 hours, 1 years as 17 days)"},
};

std::string inWords(const std::string& tags) {
    std::string words;
    for (const auto& [tag, meaning] : kTagWords) {
        if (tags.find(tag) != std::string::npos) {
            words += words.empty() ? meaning : std::string("; ") + meaning;
        }
    }
    return words + " [" + tags + "]";
}

} // namespace

Setup::Setup(const Options& options)
    : defaultTolerance_(options.defaultTolerance), timeTolerance_(options.timeTolerance) {
    // First of all, since it registers "ANY" as number 0, the key that matches every event.
    createAssignment(options);
    API::createSTBMasterRow(kMasterName, options.cellLength, options.box.count, options.box.unit,
                            master_, errors_);
    if (options.command != Command::boxes) {
        createSpec(options);
    }
    createProcessor(options);
    if (!errors_.str().empty()) {
        throw Failure(ExitCode::usage, inWords(errors_.str()));
    }
    lookBack_ = options.command == Command::hangouts ? master_.stbSpec.getDurationMillis()
                                                     : spec_.windowMillis;
}

void Setup::createAssignment(const Options& options) {
    constexpr double kAnyTolerance = std::numeric_limits<double>::max();
    // The distance from 0, 0 is a number for every point; from other centres rounding can turn
    // that of the opposite point into NaN.
    constexpr double kCentre = 0.0;
    constexpr double kWholeEarth = 2.1e7;
    const std::list<std::string> everywhere;
    API::createSTBAssignmentRow(kAnyKey, kSecondaryKey, kAnyTolerance, options.timeTolerance,
                                kMasterName, everywhere, kCentre, kCentre, kWholeEarth,
                                options.spaceFactor, options.timeFactor, assignment_, errors_);
}

void Setup::createSpec(const Options& options) {
    const auto create = options.command == Command::hangouts ? API::createHangoutSpec
                                                             : API::createSTBCompressionSpec;
    create(kAnyKey, kSecondaryKey, kMasterName, options.window.count, options.window.unit,
           options.minCount, options.ratio, spec_, errors_);
}

void Setup::createProcessor(const Options& options) {
    const std::list<STBMasterRow> masters = {master_};
    const std::list<STBAssignmentRow> assignments = {assignment_};
    const std::list<STBCompressionSpec> specs = {spec_};
    switch (options.command) {
    case Command::presence:
        API::createMotionProcessorForPresenceCompression(masters, assignments, specs, processor_,
                                                         errors_);
        break;
    case Command::hangouts:
        API::createMotionProcessorForHangouts(masters, assignments, specs, processor_, errors_);
        break;
    default:
        API::createMotionProcessorForSTBs(masters, assignments, processor_, errors_);
    }
}

std::string Setup::makeEvent(const Fix& fix, Event& event) {
    const double tolerance = fix.accuracyM.value_or(defaultTolerance_);
    if (API::createEvent(kAnyKey, fix.entity, kSecondaryKey, fix.latitude, fix.longitude, tolerance,
                         fix.time, timeTolerance_, event, errors_) == 0) {
        return "";
    }
    std::string tags = errors_.str();
    errors_.str("");
    return tags;
}

} // namespace host
