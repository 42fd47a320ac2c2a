#include "src/settings.h"

#include "engine/setup/Span.h"
#include "src/faults.h"

#include <algorithm>
#include <iterator>
#include <nanobind/stl/string.h>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace nb = nanobind;

namespace qorvel_python {

namespace {

using namespace qorvel_engine; // NOLINT(google-build-using-namespace): whose settings these are

struct QuestionName {
    std::string_view name;
    Question question;
};
constexpr QuestionName kQuestions[] = {{"boxes", Question::boxes},
                                       {"presence", Question::presence},
                                       {"hangouts", Question::hangouts},
                                       {"stays", Question::stays},
                                       {"meetings", Question::meetings}};

/// Where the simple settings go: one master, one assignment, one spec.
struct Reading {
    Settings settings;
    Config::Master master;
    Config::Assignment assignment;
    Config::Spec spec;
    std::optional<Config> config; ///< in place of them
};

template <class Value>
void read(nb::handle said, Value& value) {
    value = nb::cast<Value>(said);
}

void read(nb::handle said, Span& span) {
    span = readSpan(nb::cast<std::string>(said));
}

/// Milliseconds, from a length that always is as long, or from "ever".
void read(nb::handle said, std::optional<std::int64_t>& late) {
    const Span span = readSpan(nb::cast<std::string>(said));
    late = span.unit == "ever" ? kEver : fixedLength(span);
    if (!late) {
        throw std::invalid_argument("want days or a shorter unit, or \"ever\"");
    }
}

struct Setting {
    std::string_view name;
    void (*take)(nb::handle said, Reading& to);
};

/// The one list of all settings.
constexpr Setting kSettings[] = {
    {"threads", [](nb::handle v, Reading& r) { read(v, r.settings.session.threads); }},
    {"late", [](nb::handle v, Reading& r) { read(v, r.settings.session.late); }},
    {"default_tolerance",
     [](nb::handle v, Reading& r) { read(v, r.settings.session.defaultTolerance); }},
    {"time_tolerance", [](nb::handle v, Reading& r) { read(v, r.settings.session.timeTolerance); }},
    {"final", [](nb::handle v, Reading& r) { read(v, r.settings.analysis.lastFigures); }},
    {"max_per_box",
     [](nb::handle v, Reading& r) { read(v, r.settings.analysis.maxEntitiesPerBox); }},
    {"config_file",
     [](nb::handle v, Reading& r) { r.config = readConfig(nb::cast<std::string>(v)); }},
    {"config_text",
     [](nb::handle v, Reading& r) { r.config = readConfigText(nb::cast<std::string>(v)); }},
    {"cell_length", [](nb::handle v, Reading& r) { read(v, r.master.cellLength); }},
    {"box", [](nb::handle v, Reading& r) { read(v, r.master.box); }},
    {"space_factor", [](nb::handle v, Reading& r) { read(v, r.assignment.spaceFactor); }},
    {"time_factor", [](nb::handle v, Reading& r) { read(v, r.assignment.timeFactor); }},
    {"window", [](nb::handle v, Reading& r) { read(v, r.spec.window); }},
    {"min_count", [](nb::handle v, Reading& r) { read(v, r.spec.minCount); }},
    {"ratio", [](nb::handle v, Reading& r) { read(v, r.spec.ratio); }},
};

void take(const std::string& name, nb::handle said, Reading& to) {
    const auto* const setting =
        std::find_if(std::begin(kSettings), std::end(kSettings),
                     [&name](const Setting& row) { return row.name == name; });
    if (setting == std::end(kSettings)) {
        refuseSetting("There is no setting \"" + name + "\".");
    }
    const auto refuse = [&](const std::string& why) {
        refuseSetting("The setting \"" + name + "\" cannot be " + nb::repr(said).c_str() + why +
                      '.');
    };
    try {
        setting->take(said, to);
    } catch (const std::invalid_argument& error) {
        refuse(std::string(": ") + error.what());
    } catch (const nb::cast_error&) {
        refuse("");
    } catch (const nb::python_error&) {
        refuse("");
    }
}

Question questionOf(const std::string& name) {
    const auto* const row =
        std::find_if(std::begin(kQuestions), std::end(kQuestions),
                     [&name](const QuestionName& candidate) { return candidate.name == name; });
    if (row == std::end(kQuestions)) {
        refuseSetting("There is no analysis \"" + name +
                      "\"; want boxes, presence, hangouts, stays or meetings.");
    }
    return row->question;
}

Config simpleConfig(const Reading& reading, ProcessorKind kind) {
    Config config;
    config.masters = {reading.master};
    config.assignments = {reading.assignment};
    if (kind == ProcessorKind::presence) {
        config.presence = {reading.spec};
    } else if (kind == ProcessorKind::hangouts) {
        config.hangouts = {reading.spec};
    }
    return config;
}

} // namespace

Settings readSettings(const std::string& question, const nb::dict& said) {
    Reading reading;
    reading.settings.analysis.question = questionOf(question);
    for (const auto& [name, value] : said) {
        take(nb::cast<std::string>(name), value, reading);
    }
    const ProcessorKind kind = processorKindOf(reading.settings.analysis.question);
    reading.settings.config = reading.config ? *reading.config : simpleConfig(reading, kind);
    return reading.settings;
}

} // namespace qorvel_python
