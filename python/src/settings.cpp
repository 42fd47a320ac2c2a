#include "src/settings.h"

#include "engine/setup/Span.h"
#include "src/faults.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <nanobind/stl/string.h>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace nb = nanobind;

namespace qorvel_python {

namespace {

using namespace qorvel_engine; // NOLINT(google-build-using-namespace): whose settings these are

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

/// Milliseconds, from a length that always is as long.
void readLength(nb::handle said, std::int64_t& ms) {
    const std::optional<std::int64_t> length = fixedLength(readSpan(nb::cast<std::string>(said)));
    if (!length) {
        throw std::invalid_argument("want days or a shorter unit");
    }
    ms = *length;
}

void readMinutes(nb::handle said, std::int64_t& ms) {
    constexpr double kMinute = 60'000.0;
    constexpr double kMost = 1e9;
    const auto minutes = nb::cast<double>(said);
    if (!(minutes >= 0.0 && minutes <= kMost)) {
        throw std::invalid_argument("want 0 or more");
    }
    ms = static_cast<std::int64_t>(std::ceil(minutes * kMinute));
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
    {"radius", [](nb::handle v, Reading& r) { read(v, r.settings.analysis.stays.radius); }},
    {"min_stay",
     [](nb::handle v, Reading& r) { readLength(v, r.settings.analysis.stays.minStay); }},
    {"max_gap", [](nb::handle v, Reading& r) { readLength(v, r.settings.analysis.stays.maxGap); }},
    {"max_bridge",
     [](nb::handle v, Reading& r) { readLength(v, r.settings.analysis.stays.maxBridge); }},
    {"max_away",
     [](nb::handle v, Reading& r) { readLength(v, r.settings.analysis.stays.maxAway); }},
    {"max_accuracy",
     [](nb::handle v, Reading& r) { read(v, r.settings.analysis.stays.maxAccuracy); }},
    {"within", [](nb::handle v, Reading& r) { read(v, r.settings.analysis.encounters.within); }},
    {"apart",
     [](nb::handle v, Reading& r) { readLength(v, r.settings.analysis.encounters.apart); }},
    {"fixes_only",
     [](nb::handle v, Reading& r) { read(v, r.settings.analysis.encounters.fixesOnly); }},
    {"min_minutes",
     [](nb::handle v, Reading& r) { readMinutes(v, r.settings.analysis.encounters.minDuration); }},
    {"pairs", [](nb::handle v, Reading& r) { read(v, r.settings.analysis.encounters.pairs); }},
    {"first_ms", [](nb::handle v, Reading& r) { read(v, r.settings.analysis.encounters.first); }},
    {"last_ms", [](nb::handle v, Reading& r) { read(v, r.settings.analysis.encounters.last); }},
    {"time_zone",
     [](nb::handle v, Reading& r) {
         r.settings.analysis.places.zone = TimeZone(nb::cast<std::string>(v));
     }},
    {"label",
     [](nb::handle v, Reading& r) {
         AnalysisOptions& analysis = r.settings.analysis;
         const bool ofPlaces = analysis.question == Question::places;
         read(v, ofPlaces ? analysis.places.labels : analysis.stays.label);
     }},
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

std::int64_t milliseconds(const std::string& length) {
    return fixedLength(readSpan(length)).value_or(kEver);
}

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
