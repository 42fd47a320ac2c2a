#include "program/cli/filterGroup.h"

#include "program/cli/options.h"
#include "program/input/number.h"
#include "program/isoTime.h"

#include <array>
#include <fstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace program {

namespace {

void readEntities(const std::string& file, FilterOptions& filter) {
    std::ifstream in(file, std::ios::binary);
    std::string name;
    for (bool isFirst = true; std::getline(in, name); isFirst = false) {
        constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
        if (isFirst && name.starts_with(kByteOrderMark)) {
            name.erase(0, kByteOrderMark.size());
        }
        if (name.ends_with('\r')) {
            name.pop_back();
        }
        if (!name.empty()) {
            filter.entities.insert(name);
        }
    }
    if (in.bad() || (!in.eof() && in.fail())) {
        throw usageFailure("--entities", file, "the file cannot be read");
    }
    if (filter.entities.empty()) {
        throw usageFailure("--entities", file, "the file names no entity, one a line");
    }
}

Area readArea(const std::string& text) {
    std::array<double, 4> sides{};
    std::string_view rest = text;
    for (std::size_t i = 0; i < sides.size(); ++i) {
        const std::size_t end = i + 1 < sides.size() ? rest.find(',') : rest.size();
        if (end == std::string_view::npos ||
            !readNumber(plainNumber(rest.substr(0, end)), sides[i])) {
            throw usageFailure("--bbox", text, "want four degrees: west,south,east,north");
        }
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    const auto [west, south, east, north] = sides;
    const auto isWithin = [](double value, double most) { return value >= -most && value <= most; };
    if (!isWithin(west, 180.0) || !isWithin(east, 180.0) || !isWithin(south, 90.0) ||
        !isWithin(north, 90.0) || south > north) {
        throw usageFailure("--bbox", text,
                           "want west and east from -180 to 180 (west may be the greater: across "
                           "longitude 180), south and north from -90 to 90, south first");
    }
    return {west, south, east, north};
}

std::int64_t readTime(const std::string& option, const std::string& text,
                      const InputOptions& input) {
    IsoTime read;
    if (const char* fault = readIsoTime(text, read)) {
        throw usageFailure(option, text, std::string("the time ") + fault);
    }
    return read.hasOffset || !input.zone ? read.time : input.zone->toUtc(read.time);
}

double readSpeed(const std::string& text) {
    constexpr Unit kUnits[] = {
        {"km/h", 1000.0 / 3600.0},  {"kmh", 1000.0 / 3600.0},   {"m/s", 1.0},
        {"mph", 1609.344 / 3600.0}, {"knots", 1852.0 / 3600.0}, {"kn", 1852.0 / 3600.0}};
    constexpr double kMost = 1e9;
    const double speed = readQuantity(text, kUnits).value_or(0.0);
    if (!(speed > 0.0 && speed < kMost)) {
        throw usageFailure("--max-speed", text,
                           "want a speed above 0, as in \"200 km/h\", \"50 m/s\", \"120 mph\" or "
                           "\"30 knots\"");
    }
    return speed;
}

} // namespace

void addFilters(CLI::App& command, const InputOptions& input, FilterOptions& filter) {
    const std::string group = "Filter";
    const auto add = [&](const char* name, auto take, const char* what) {
        return command.add_option_function<std::string>(name, take, what)->group(group);
    };
    command
        .add_option_function<std::vector<std::string>>(
            "--entity",
            [&filter](const std::vector<std::string>& names) {
                filter.entities.insert(names.begin(), names.end());
            },
            "only this entity; may be said again for more")
        ->allow_extra_args(false)
        ->group(group);
    add(
        "--entities", [&filter](const std::string& file) { readEntities(file, filter); },
        "only the entities that a file names, one a line");
    add(
        "--bbox", [&filter](const std::string& text) { filter.area = readArea(text); },
        "only fixes within west,south,east,north, degrees; west may be greater than east, across "
        "longitude 180");
    add(
        "--from",
        [&filter, &input](const std::string& text) {
            filter.from = readTime("--from", text, input);
        },
        "only fixes from that time on, as in 2024-03-17 or 2024-03-17T08:30+01:00");
    add(
        "--to",
        [&filter, &input](const std::string& text) {
            filter.to = readTime("--to", text, input) - 1;
        },
        "only fixes before that time");
    add(
        "--max-speed", [&filter](const std::string& text) { filter.maxSpeed = readSpeed(text); },
        "leave out fixes that the entity could only reach faster, as in \"200 km/h\" (or m/s, mph, "
        "knots), measured from its last fix that was kept. After three that agree, in a row or "
        "more "
        "than were kept, it was that one that was astray");
}

} // namespace program
