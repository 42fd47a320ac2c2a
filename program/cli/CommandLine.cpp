#include "program/cli/CommandLine.h"

#include "program/cli/commands.h"
#include "program/cli/completion.h"
#include "program/cli/options.h"
#include "program/output/TextFile.h"

#include "qorvel/version.h"

#include <iostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace program {

namespace {

constexpr char kFooter[] = R"(Examples:
  qorvel synth --out tracks.csv --truth truth.csv     a made-up town to try things on
  qorvel stays tracks.csv                             who stayed where, from when to when
  qorvel places --label tracks.csv                    where each lives, works and goes
  qorvel meet --out meetings.html tracks.csv.gz       who was with whom, as a map
  qorvel hangouts --window "30 minutes" --box "1 days" tracks.csv
  qorvel presence --config town.toml --rejects bad.csv --out presence.gpkg tracks.ndjson
  qorvel stays --from 2024-03-05 --max-speed "200 km/h" --time-zone Europe/Berlin tracks.csv
  qorvel explain --row 17 tracks.csv                  why row 17 found nothing
  qorvel COMMAND --help                               the options of a command

Input: files, patterns and folders of CSV, NDJSON, GPX, GeoJSON, FlatGeobuf, any of them as .gz,
GeoPackage, shape files; databases, and with --gdal-driver what else GDAL reads. Columns are found
by their usual names (entity, lat, lon, time, accuracy_m). Rows are taken in the order of the input.
Bad rows are told on standard error, skipped and counted.

Output: CSV, NDJSON or GeoJSON, also as .gz, GeoPackage or FlatGeobuf, with the cells as shapes;
HTML, a page with a map; or a table of PostGIS.

Exit codes: 0 done, 1 some rows rejected, 2 wrong usage or configuration, 3 input unusable or
broken off, more bad rows than --max-rejects, or output failed, 141 who reads standard output has
left (as head does), 130, 143 or 129 ended by SIGINT, SIGTERM or SIGHUP: what was found up to there
is kept.)";

/// The parser with all commands.
class CommandLine {
public:
    CommandLine() {
        app_.set_version_flag("--version", "qorvel " QORVEL_VERSION);
        app_.set_help_all_flag("--help-all", "the help of all commands");
        app_.footer(kFooter);
        app_.require_subcommand(1);
        for (const AddCommand add : kCommands) {
            commands_.push_back(add(app_));
        }
    }

    ExitCode run(int argc, const char* const* argv) {
        refuseUnknownCommand(argc, argv);
        try {
            app_.parse(argc, argv);
        } catch (const CLI::ParseError& end) { // also after --help and --version
            std::ostringstream text;
            const bool complains = app_.exit(end, text, std::cerr) != 0;
            print(text.str());
            return complains ? ExitCode::usage : ExitCode::done;
        }
        for (const Command& command : commands_) {
            if (command.parser->parsed()) {
                refuseEmptyValues(*command.parser);
                return command.run();
            }
        }
        return ExitCode::usage;
    }

    void printCompletion() const { print(completionScript(app_)); }

private:
    /// CLI11 would only say that a command is missing.
    void refuseUnknownCommand(int argc, const char* const* argv) const {
        const std::string_view word = argc > 1 ? argv[1] : "-";
        std::string known;
        for (const Command& command : commands_) {
            if (command.parser->get_name() == word) {
                return;
            }
            known += ' ' + command.parser->get_name();
        }
        if (word.empty() || word.front() != '-') {
            throw usageFailure("there is no command \"" + std::string(word) + "\"; there are" +
                               known);
        }
    }

    CLI::App app_{"Finds where and when moving entities stayed and met, in cells of a geohash and "
                  "boxes of time.",
                  "qorvel"};
    std::vector<Command> commands_;
};

} // namespace

ExitCode runCommandLine(int argc, const char* const* argv) {
    CommandLine line;
    // Asked for once, when the program is built: no option that users need see.
    if (argc == 2 && std::string_view(argv[1]) == "--bash-completion") {
        line.printCompletion();
        return ExitCode::done;
    }
    return line.run(argc, argv);
}

} // namespace program
