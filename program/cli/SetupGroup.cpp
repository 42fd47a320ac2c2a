#include "program/cli/SetupGroup.h"

#include "program/cli/inputGroup.h"
#include "program/cli/options.h"

namespace program {

void SetupGroup::add(CLI::App& command, const char* ratioMeaning) {
    const std::string group = "Configuration";
    command
        .add_option("--config", file_,
                    "TOML file with masters, assignments and specs, in place of the options of "
                    "this group")
        ->group(group);
    std::vector<std::string> replaced = {"--cell-length", "--box", "--space-factor",
                                         "--time-factor"};
    addValue(command, "--cell-length", master_.cellLength,
             "length of a cell's geohash, 0 to 25 characters; 6 are 1200 m x 600 m at the "
             "equator, 7 150 m x 150 m, 8 38 m x 19 m. Even lengths hold a stay together "
             "better: the neighbours of a cell of odd length are twice as wide as it is");
    addSpan(command, "--box", master_.box, "length of a time box, as a count and a unit");
    addValue(command, "--space-factor", assignment_.spaceFactor,
             "share of a fix's accuracy within which it touches cells, 0 to 1. Only a cell's "
             "direct neighbours are reached, however poor the fix");
    addValue(command, "--time-factor", assignment_.timeFactor,
             "share of the time tolerance, 0 to 1");
    if (ratioMeaning != nullptr) {
        addSpan(command, "--window", spec_.window,
                "how long a stay must be (hangouts, stays), or what is looked back upon "
                "(presence); shorter than a time box");
        addValue(command, "--min-count", spec_.minCount, "fixes in a cell's series to report it");
        addValue(command, "--ratio", spec_.ratio, ratioMeaning);
        replaced.insert(replaced.end(), {"--window", "--min-count", "--ratio"});
    }
    for (const std::string& option : replaced) {
        replacedByFile_.push_back(command.get_option(option)->group(group));
    }
}

void SetupGroup::addFile(CLI::App& command) {
    command.add_option("--config", file_, "TOML file")->required();
}

Config SetupGroup::configFor(ProcessorKind kind) const {
    if (!file_.empty()) {
        refuseBoth();
        return readConfig(file_);
    }
    Config config;
    config.masters = {master_};
    config.assignments = {assignment_};
    switch (kind) {
    case ProcessorKind::boxes:
        break;
    case ProcessorKind::presence:
        config.presence = {spec_};
        break;
    case ProcessorKind::hangouts:
        config.hangouts = {spec_};
        break;
    }
    return config;
}

Config SetupGroup::configFor(ProcessorKind kind, InputOptions& input) const {
    Config config = configFor(kind);
    if (config.file.empty()) {
        ignoreKeys(input);
    }
    return config;
}

void SetupGroup::refuseBoth() const {
    for (const CLI::Option* option : replacedByFile_) {
        if (option->count() > 0) {
            throw usageFailure(option->get_name() + " goes into the file of --config");
        }
    }
}

} // namespace program
