#include "program/commands/advice.h"

#include "engine/setup/Span.h"
#include "engine/setup/numberText.h"

#include <cmath>

namespace program {

namespace {

std::string metres(double value) {
    return roundedText(value) + " m";
}

std::string option(const char* name, const std::string& value) {
    return std::string(name) + " (" + value + ")";
}

std::string typicalInterval(std::int64_t interval) {
    return "the fixes of an entity are typically " + lengthText(interval) + " apart";
}

const char kOneFixEach[] =
    "no entity has two fixes at different times; --entity-column says which column tells entities";

std::string adviceOnStays(const RunOptions& options, const InputFigures& input) {
    const StayOptions& stays = options.analysis.stays;
    if (!input.interval) {
        return kOneFixEach;
    }
    if (*input.interval > stays.maxBridge) {
        return typicalInterval(*input.interval) + ", farther than " +
               option("--max-bridge", lengthText(stays.maxBridge)) +
               " lets a stay go on: a longer one would";
    }
    return "nobody was within " + option("--radius", metres(stays.radius)) + " of one place for " +
           option("--min-stay", lengthText(stays.minStay)) +
           ": a wider one, or a shorter one, would find more";
}

std::string adviceOnEncounters(const RunOptions& options, const InputFigures& input) {
    const EncounterOptions& encounters = options.analysis.encounters;
    if (input.entities < 2) {
        return "there is one entity only, and two can meet; --entity-column says which column "
               "tells entities";
    }
    if (input.interval && *input.interval > encounters.apart) {
        return typicalInterval(*input.interval) +
               ", and in between it is not known where they "
               "were, with " +
               option("--apart", lengthText(encounters.apart)) + ": a longer one would tell";
    }
    const std::string text =
        "no two were within " + option("--within", metres(encounters.within)) + " of each other";
    return encounters.minDuration == 0
               ? text + ": a wider one would find more"
               : text + " for as long as --min-minutes asks: a wider one, or fewer, would find "
                        "more";
}

/// What a box, or what is looked back upon, has to hold, and what it does.
std::string tooFew(const InputFigures& input, const std::string& what, std::int64_t length,
                   double wanted) {
    const double held = static_cast<double>(length) / static_cast<double>(*input.interval);
    if (held >= wanted) {
        return {};
    }
    return typicalInterval(*input.interval) + ", so that " + what + " holds about " +
           roundedText(std::floor(held)) + " where --min-count asks for " + roundedText(wanted) +
           ": a longer one, or a lower --min-count, would find more";
}

std::string adviceOnRecords(const RunOptions& options, const InputFigures& input) {
    const Config& config = options.config;
    if (!config.file.empty()) {
        return "no spec of " + config.file +
               " was met; \"qorvel explain --row N\" says what a row lacks, \"qorvel check\" what "
               "no row can meet";
    }
    if (!input.interval) {
        return kOneFixEach;
    }
    const bool isPresence = options.analysis.question == Question::presence;
    const Config::Spec& spec = (isPresence ? config.presence : config.hangouts).front();
    const Config::Master& master = config.masters.front();
    const std::string advice =
        isPresence ? tooFew(input, option("--window", spec.window.text()),
                            fixedLength(spec.window).value_or(INT64_MAX), spec.minCount)
                   : tooFew(input, "a box of " + option("--box", master.box.text()),
                            fixedLength(master.box).value_or(INT64_MAX),
                            std::ceil(spec.minCount * spec.ratio));
    return !advice.empty()
               ? advice
               : "nobody had " + option("--min-count", std::to_string(spec.minCount)) +
                     " fixes in a cell " + (isPresence ? "within " : "over ") +
                     option("--window", spec.window.text()) +
                     ": fewer, a shorter --cell-length, whose cells are larger, or " +
                     (isPresence ? "a longer" : "a shorter") + " window would find more";
}

std::string adviceOnNothing(const RunOptions& options, const InputFigures& input) {
    switch (options.analysis.question) {
    case Question::stays:
    case Question::places:
        return adviceOnStays(options, input);
    case Question::encounters:
        return adviceOnEncounters(options, input);
    case Question::presence:
    case Question::hangouts:
        return adviceOnRecords(options, input);
    case Question::boxes:
        break;
    }
    return options.config.file.empty() ? ""
                                       : "no assignment of " + options.config.file +
                                             " takes any row; \"qorvel check\" says why";
}

} // namespace

std::string adviceOn(const RunOptions& options, const RunFigures& run, const InputFigures& input) {
    if (2 * input.inaccurate > run.processed) {
        return std::to_string(input.inaccurate) + " of " + std::to_string(run.processed) +
               " fixes are less accurate than " +
               option("--max-accuracy", metres(options.analysis.stays.maxAccuracy)) +
               " and were left out: a higher one takes them";
    }
    return run.results > 0 || run.processed == 0 ? "" : adviceOnNothing(options, input);
}

} // namespace program
