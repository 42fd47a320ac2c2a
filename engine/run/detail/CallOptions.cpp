#include "engine/run/detail/CallOptions.h"

#include "engine/columns/Fault.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <string>

namespace qorvel_engine::detail {

namespace {

/// Reads a value; false if it cannot be.
template <class Number>
bool read(std::string_view text, Number& number) {
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

bool read(std::string_view text, bool& flag) {
    flag = text == "1";
    return flag || text == "0";
}

bool read(std::string_view text, std::optional<std::int64_t>& late) {
    late = kEver;
    return text == "ever" || read(text, *late);
}

bool read(std::string_view text, std::string& name) {
    name = text;
    return true;
}

/// One that there is not says itself what is wrong.
bool read(std::string_view text, TimeZone& zone) {
    zone = TimeZone(std::string(text));
    return true;
}

struct Option {
    std::string_view key;
    bool (*take)(CallOptions& options, std::string_view value);
};

constexpr Option kOptions[] = {
    {"threads", [](CallOptions& o, std::string_view v) { return read(v, o.session.threads); }},
    {"default_tolerance",
     [](CallOptions& o, std::string_view v) { return read(v, o.session.defaultTolerance); }},
    {"time_tolerance",
     [](CallOptions& o, std::string_view v) { return read(v, o.session.timeTolerance); }},
    {"late", [](CallOptions& o, std::string_view v) { return read(v, o.session.late); }},
    {"last_figures",
     [](CallOptions& o, std::string_view v) { return read(v, o.analysis.lastFigures); }},
    {"radius", [](CallOptions& o, std::string_view v) { return read(v, o.analysis.stays.radius); }},
    {"min_stay",
     [](CallOptions& o, std::string_view v) { return read(v, o.analysis.stays.minStay); }},
    {"max_gap",
     [](CallOptions& o, std::string_view v) { return read(v, o.analysis.stays.maxGap); }},
    {"max_bridge",
     [](CallOptions& o, std::string_view v) { return read(v, o.analysis.stays.maxBridge); }},
    {"max_away",
     [](CallOptions& o, std::string_view v) { return read(v, o.analysis.stays.maxAway); }},
    {"max_accuracy",
     [](CallOptions& o, std::string_view v) { return read(v, o.analysis.stays.maxAccuracy); }},
    {"rows", [](CallOptions& o, std::string_view v) { return read(v, o.analysis.stays.label); }},
    {"within",
     [](CallOptions& o, std::string_view v) { return read(v, o.analysis.encounters.within); }},
    {"apart",
     [](CallOptions& o, std::string_view v) { return read(v, o.analysis.encounters.apart); }},
    {"fixes_only",
     [](CallOptions& o, std::string_view v) { return read(v, o.analysis.encounters.fixesOnly); }},
    {"min_duration",
     [](CallOptions& o, std::string_view v) { return read(v, o.analysis.encounters.minDuration); }},
    {"pairs",
     [](CallOptions& o, std::string_view v) { return read(v, o.analysis.encounters.pairs); }},
    {"time_zone",
     [](CallOptions& o, std::string_view v) { return read(v, o.analysis.places.zone); }},
    {"labels",
     [](CallOptions& o, std::string_view v) { return read(v, o.analysis.places.labels); }},
    {"entity", [](CallOptions& o, std::string_view v) { return read(v, o.columns.entity); }},
    {"lat", [](CallOptions& o, std::string_view v) { return read(v, o.columns.latitude); }},
    {"lon", [](CallOptions& o, std::string_view v) { return read(v, o.columns.longitude); }},
    {"time", [](CallOptions& o, std::string_view v) { return read(v, o.columns.time); }},
    {"accuracy", [](CallOptions& o, std::string_view v) { return read(v, o.columns.accuracy); }},
    {"primary_key",
     [](CallOptions& o, std::string_view v) { return read(v, o.columns.primaryKey); }},
    {"secondary_key",
     [](CallOptions& o, std::string_view v) { return read(v, o.columns.secondaryKey); }}};

std::string quoted(std::string_view text) {
    return '"' + std::string(text) + '"';
}

[[noreturn]] void refuse(const std::string& sentence, std::uint64_t line) {
    throw Fault(FaultCode::badConfiguration, sentence, {}, line);
}

std::string optionNames() {
    std::string names;
    for (const Option& option : kOptions) {
        names += names.empty() ? "" : ", ";
        names += option.key;
    }
    return names;
}

void readLine(std::string_view text, std::uint64_t line, CallOptions& options) {
    const std::size_t equals = std::min(text.find('='), text.size());
    const std::string_view key = text.substr(0, equals);
    const auto* const option =
        std::find_if(std::begin(kOptions), std::end(kOptions),
                     [key](const Option& candidate) { return candidate.key == key; });
    if (equals == text.size() || option == std::end(kOptions)) {
        refuse("There is no option " + quoted(key) + "; want a line key=value for any of " +
                   optionNames() + ".",
               line);
    }
    const std::string_view value = text.substr(equals + 1);
    if (!option->take(options, value)) {
        refuse("The option " + quoted(key) + " cannot be " + quoted(value) + ".", line);
    }
}

} // namespace

CallOptions readCallOptions(std::string_view question, std::string_view options) {
    CallOptions result;
    result.analysis.question = questionOf(question);
    for (std::uint64_t line = 1; !options.empty(); ++line) {
        const std::string_view text = options.substr(0, options.find('\n'));
        options.remove_prefix(std::min(text.size() + 1, options.size()));
        if (!text.empty()) {
            readLine(text, line, result);
        }
    }
    return result;
}

} // namespace qorvel_engine::detail
