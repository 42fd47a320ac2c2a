#include "engine/run/advice.h"

#include "engine/setup/Span.h"
#include "engine/setup/numberText.h"

#include <cmath>
#include <cstdint>
#include <vector>

namespace qorvel_engine {

namespace {

std::string metres(double value) {
    return roundedText(value) + " m";
}

std::string typicalInterval(std::int64_t interval) {
    return "the fixes of an entity are typically " + lengthText(interval) + " apart";
}

/// On an answer with nothing in it.
class Adviser {
public:
    Adviser(const AnalysisOptions& options, const Config& config, const InputFigures& input,
            const AdviceWords& words)
        : options_(options), config_(config), input_(input), words_(words) {}

    std::string advice() const {
        switch (options_.question) {
        case Question::stays:
        case Question::places:
            return onStays();
        case Question::encounters:
            return onEncounters();
        case Question::presence:
        case Question::hangouts:
            return onRecords();
        case Question::boxes:
            break;
        }
        return isWritten() ? "no assignment of " + configuration() + " takes any row; " +
                                 std::string(words_.check) + " says why"
                           : "";
    }

private:
    /// Is there a file of it, or a text? Else it is made of options.
    bool isWritten() const {
        return !config_.file.empty() || (!config_.masters.empty() && config_.masters[0].line > 0);
    }

    std::string configuration() const {
        return config_.file.empty() ? "the configuration" : config_.file;
    }

    std::string name(std::string_view option) const { return words_.option(option); }

    /// With the value that it has.
    std::string option(std::string_view option, const std::string& value) const {
        return name(option) + " (" + value + ")";
    }

    std::string whichColumn() const {
        return "; " + std::string(words_.entityColumn) + " says which column tells entities";
    }

    std::string oneFixEach() const {
        return "no entity has two fixes at different times" + whichColumn();
    }

    std::string onStays() const {
        const StayOptions& stays = options_.stays;
        if (!input_.interval) {
            return oneFixEach();
        }
        if (*input_.interval > stays.maxBridge) {
            return typicalInterval(*input_.interval) + ", farther than " +
                   option("max_bridge", lengthText(stays.maxBridge)) +
                   " lets a stay go on: a longer one would";
        }
        return "nobody was within " + option("radius", metres(stays.radius)) +
               " of one place for " + option("min_stay", lengthText(stays.minStay)) +
               ": a wider one, or a shorter one, would find more";
    }

    std::string onEncounters() const {
        const EncounterOptions& encounters = options_.encounters;
        if (input_.entities < 2) {
            return "there is one entity only, and two can meet" + whichColumn();
        }
        if (!encounters.fixesOnly && input_.interval && *input_.interval > encounters.apart) {
            return typicalInterval(*input_.interval) +
                   ", and in between it is not known where they were, with " +
                   option("apart", lengthText(encounters.apart)) + ": a longer one would tell";
        }
        std::string text =
            "no two were within " + option("within", metres(encounters.within)) + " of each other";
        if (encounters.fixesOnly) {
            text += " at fixes within " + option("apart", lengthText(encounters.apart));
        }
        return encounters.minDuration == 0 ? text + ": a wider one would find more"
                                           : text + " for as long as " + name("min_minutes") +
                                                 " asks: a wider one, or fewer, would find more";
    }

    /// What a box, or what is looked back upon, has to hold, and what it does.
    std::string tooFew(const std::string& what, std::int64_t length, double wanted) const {
        const double held = static_cast<double>(length) / static_cast<double>(*input_.interval);
        if (held >= wanted) {
            return {};
        }
        return typicalInterval(*input_.interval) + ", so that " + what + " holds about " +
               roundedText(std::floor(held)) + " where " + name("min_count") + " asks for " +
               roundedText(wanted) + ": a longer one, or a lower " + name("min_count") +
               ", would find more";
    }

    std::string onRecords() const {
        if (isWritten()) {
            return "no spec of " + configuration() + " was met; " + std::string(words_.explain) +
                   " says what a row lacks, " + std::string(words_.check) + " what no row can meet";
        }
        if (!input_.interval) {
            return oneFixEach();
        }
        const bool isPresence = options_.question == Question::presence;
        const std::vector<Config::Spec>& specs = isPresence ? config_.presence : config_.hangouts;
        if (specs.empty() || config_.masters.empty()) {
            return {};
        }
        const Config::Spec& spec = specs.front();
        const Span& box = config_.masters.front().box;
        const std::string advice =
            isPresence ? tooFew(option("window", spec.window.text()),
                                fixedLength(spec.window).value_or(INT64_MAX), spec.minCount)
                       : tooFew("a box of " + option("box", box.text()),
                                fixedLength(box).value_or(INT64_MAX),
                                std::ceil(spec.minCount * spec.ratio));
        return !advice.empty()
                   ? advice
                   : "nobody had " + option("min_count", std::to_string(spec.minCount)) +
                         " fixes in a cell " + (isPresence ? "within " : "over ") +
                         option("window", spec.window.text()) + ": fewer, a shorter " +
                         name("cell_length") + ", whose cells are larger, or " +
                         (isPresence ? "a longer" : "a shorter") + " window would find more";
    }

    const AnalysisOptions& options_;
    const Config& config_;
    const InputFigures& input_;
    const AdviceWords& words_;
};

} // namespace

std::string adviceOn(const AnalysisOptions& options, const Config& config, const RunFigures& run,
                     const InputFigures& input, const AdviceWords& words) {
    if (2 * input.inaccurate > run.processed) {
        return std::to_string(input.inaccurate) + " of " + std::to_string(run.processed) +
               " fixes are less accurate than " + words.option("max_accuracy") + " (" +
               metres(options.stays.maxAccuracy) + ") and were left out: a higher one takes them";
    }
    return run.results > 0 || run.processed == 0 ? ""
                                                 : Adviser(options, config, input, words).advice();
}

} // namespace qorvel_engine
