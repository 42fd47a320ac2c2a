#include "program/commands/checkCommand.h"

#include "program/commands/configText.h"
#include "program/input/FixBatch.h"
#include "program/input/FixSource.h"
#include "program/output/TextFile.h"

#include <algorithm>

namespace program {

namespace {

/// Each entry's name and lines.
template <typename Entry, typename EntryText>
std::string entriesText(const char* kind, const std::vector<Entry>& entries,
                        const EntryText& entryText) {
    std::string text;
    for (std::size_t index = 0; index < entries.size(); ++index) {
        text += entryName(kind, index, entries[index].line) + '\n' + entryText(entries[index]);
    }
    return text;
}

std::string configText(const Config& config) {
    const auto specsText = [&config](const char* kind, ProcessorKind use) {
        return entriesText(kind, config.specs(use),
                           [use](const Config::Spec& spec) { return specText(spec, use); });
    };
    return entriesText("master", config.masters, masterText) +
           entriesText("assignment", config.assignments, assignmentText) +
           specsText("presence", ProcessorKind::presence) +
           specsText("hangout", ProcessorKind::hangouts);
}

std::string figuresText(const TrackFigures& figures, const std::string& name) {
    return "data " + name + "\n  rows       " + std::to_string(figures.rows) + " read, " +
           std::to_string(figures.rejected) + " rejected\n  usual gap  " +
           (figures.medianGap ? "about " + lengthText(*figures.medianGap) : "none") + '\n';
}

std::uint64_t errorCount(const std::vector<ConfigFault>& faults) {
    return static_cast<std::uint64_t>(std::count_if(
        faults.begin(), faults.end(), [](const ConfigFault& fault) { return fault.isError; }));
}

} // namespace

TrackFigures checkTracks(const Config& config, const EventOptions& events, FixSource& source) {
    TrackCheck check(config, events);
    FixBatch batch;
    for (Fix fix; source.next();) {
        if (source.read(fix).empty()) {
            batch.clear();
            batch.append(fix);
            check.take(batch.observations());
        } else {
            check.reject();
        }
    }
    return check.figures();
}

ExitCode runCheck(const CheckOptions& options) {
    std::string text = configText(options.config);
    std::vector<ConfigFault> faults = checkConfig(options.config);
    const std::uint64_t errors = errorCount(faults);
    if (errors == 0 && !options.tracks.names.empty()) {
        const std::unique_ptr<FixSource> source = openTracks(options.tracks);
        const TrackFigures figures = checkTracks(options.config, options.events, *source);
        text += figuresText(figures, source->name());
        faults.insert(faults.end(), figures.warnings.begin(), figures.warnings.end());
    }
    for (const ConfigFault& fault : faults) {
        text += describe(fault, options.config.file) + '\n';
    }
    text += std::to_string(errors) + " errors, " + std::to_string(faults.size() - errors) +
            " warnings\n";
    TextFile output("-", "");
    output.write(text);
    output.finish();
    return errors == 0 ? ExitCode::done : ExitCode::usage;
}

} // namespace program
