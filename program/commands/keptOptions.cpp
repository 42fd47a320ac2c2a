#include "program/commands/keptOptions.h"

#include "program/fileName.h"
#include "program/input/FixColumns.h"

#include <charconv>
#include <filesystem>

namespace program {

namespace {

template <class Number>
std::string textOf(Number number) {
    char text[40];
    return std::string(text, std::to_chars(text, text + sizeof text, number).ptr);
}

template <class Enum>
std::string wordOf(Enum value) {
    return textOf(static_cast<int>(value));
}

/// The ending tells the format where no option does.
std::string formatOf(const std::string& file, int format) {
    return textOf(format) + std::filesystem::path(formatName(file)).extension().string();
}

std::string areaText(const std::optional<Area>& area) {
    return !area ? ""
                 : textOf(area->west) + ',' + textOf(area->south) + ',' + textOf(area->east) + ',' +
                       textOf(area->north);
}

std::string entitiesText(const FilterOptions& filter) {
    std::string text;
    for (const std::string& entity : filter.entities) {
        text += textOf(entity.size()) + ' ' + entity;
    }
    return text;
}

} // namespace

std::vector<std::pair<std::string, std::string>> keptOptions(const RunOptions& options) {
    const InputOptions& input = options.input;
    const FilterOptions& filter = options.filter;
    const OutputOptions& output = options.output;
    std::vector<std::pair<std::string, std::string>> kept = {
        {"--input-format",
         formatOf(input.names.empty() ? "" : input.names.front(), static_cast<int>(input.format))},
        {"--time-unit", wordOf(input.timeUnit)},
        {"--time-zone", input.zone ? input.zone->name() : ""},
        {"--entity or --entities", entitiesText(filter)},
        {"--bbox", areaText(filter.area)},
        {"--from", textOf(filter.from)},
        {"--to", textOf(filter.to)},
        {"--max-speed", filter.maxSpeed ? textOf(*filter.maxSpeed) : ""},
        {"--format", formatOf(output.file, static_cast<int>(output.format))},
        {"--csv-safe", wordOf(output.isCsvSafe)},
        {"--rejects", options.rejectsFile.empty() ? "" : "wanted"}};
    for (std::size_t i = 0; i < kFixFields; ++i) {
        kept.emplace_back(columnOption(static_cast<FixField>(i)), input.columns[i]);
    }
    return kept;
}

} // namespace program
