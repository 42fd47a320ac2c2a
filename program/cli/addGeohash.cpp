#include "program/Interrupt.h"
#include "program/cli/commands.h"
#include "program/cli/options.h"
#include "program/commands/geohashCommand.h"
#include "program/input/number.h"

#include <memory>
#include <tuple>

namespace program {

namespace {

constexpr char kFromInput[] = "-";
constexpr char kTextOrInput[] = "text of the cell; - for one a line from standard input";

constexpr char kGeohashFooter[] = R"(Examples:
  qorvel geohash encode 47.3712 8.5401 --length 7
  qorvel geohash decode u0qj6r
  qorvel geohash neighbours u0qj6r)";

} // namespace

Command addGeohash(CLI::App& program) {
    CLI::App& command = *program.add_subcommand("geohash", "geohash texts to places and back");
    const auto options = std::make_shared<GeohashOptions>();
    const auto addTask = [&](const char* name, GeohashOptions::Task task, const char* what) {
        CLI::App* added = command.add_subcommand(name, what);
        added->callback([options, task] { options->task = task; });
        return added;
    };
    CLI::App* encode = command.add_subcommand("encode", "the cell of a point");
    encode
        ->add_option_function<std::string>(
            "LAT",
            [options](const std::string& text) {
                options->isByLine = text == kFromInput;
                if (!options->isByLine && !readNumber(plainNumber(text), options->latitude)) {
                    throw CLI::ConversionError(text, "LAT");
                }
            },
            "degrees; - for points from standard input, LAT,LON a line")
        ->required();
    CLI::Option* longitude = encode->add_option("LON", options->longitude, "degrees");
    encode->callback([options, longitude] {
        options->task = GeohashOptions::Task::encode;
        if (options->isByLine && longitude->count() > 0) {
            throw CLI::ExcludesError("LAT -", "LON");
        }
        if (!options->isByLine && longitude->count() == 0) {
            throw CLI::RequiredError("LON");
        }
    });
    CLI::Option* bits =
        addValue(*encode, "--bits", options->bits, "bits of the cell")->check(CLI::Range(0U, 128U));
    encode
        ->add_option_function<std::uint32_t>(
            "--length",
            [options](const std::uint32_t& length) {
                constexpr std::uint32_t kBitsPerCharacter = 5;
                options->bits = length * kBitsPerCharacter;
            },
            "characters of the cell, in place of --bits")
        ->check(CLI::Range(0U, 25U))
        ->excludes(bits);
    for (const auto& [name, task, what, text] :
         {std::tuple("decode", GeohashOptions::Task::decode, "its centre, edges and size",
                     kTextOrInput),
          std::tuple("neighbours", GeohashOptions::Task::neighbours,
                     "the cells around it, as on a map", "text of the cell"),
          std::tuple("centroid", GeohashOptions::Task::centroid, "its centre", kTextOrInput)}) {
        addTask(name, task, what)->add_option("GEOHASH", options->text, text)->required();
    }
    command.require_subcommand(1);
    command.footer(kGeohashFooter);
    return {&command, [options] {
                const bool isOfOne = options->task == GeohashOptions::Task::neighbours;
                options->isByLine |= !isOfOne && options->text == kFromInput;
                return unlessInterrupted([&] { return runGeohash(*options); });
            }};
}

} // namespace program
