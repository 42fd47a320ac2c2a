#include "program/cli/commands.h"
#include "program/cli/options.h"
#include "program/commands/geohashCommand.h"

#include <memory>
#include <tuple>

namespace program {

namespace {

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
    CLI::App* encode = addTask("encode", GeohashOptions::Task::encode, "the cell of a point");
    encode->add_option("LAT", options->latitude, "degrees")->required();
    encode->add_option("LON", options->longitude, "degrees")->required();
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
    for (const auto& [name, task, what] :
         {std::tuple("decode", GeohashOptions::Task::decode, "its centre, edges and size"),
          std::tuple("neighbours", GeohashOptions::Task::neighbours,
                     "the cells around it, as on a map"),
          std::tuple("centroid", GeohashOptions::Task::centroid, "its centre")}) {
        addTask(name, task, what)
            ->add_option("GEOHASH", options->text, "text of the cell")
            ->required();
    }
    command.require_subcommand(1);
    command.footer(kGeohashFooter);
    return {&command, [options] { return runGeohash(*options); }};
}

} // namespace program
