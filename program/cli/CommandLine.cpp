#include "program/cli/CommandLine.h"

#include "engine/columns/Fault.h"
#include "program/cli/completion.h"
#include "program/output/TextFile.h"

#include "qorvel/version.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <iostream>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <utility>
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
  qorvel explain --row 17 tracks.csv                  why row 17 found nothing
  qorvel COMMAND --help                               the options of a command

Input: CSV, TSV, NDJSON, GPX, GeoJSON, FlatGeobuf, any of them as .gz, GeoPackage, shape files,
databases, and with --gdal-driver what else GDAL reads. Columns are found by their usual names
(entity, lat, lon, time, accuracy_m). Rows are taken in the order of the input. Bad rows are told on
standard error, skipped and counted.

Output: CSV, NDJSON, GeoJSON, GeoPackage or FlatGeobuf, with the cells as shapes; HTML, a page with a map.

Exit codes: 0 done, 1 some rows rejected, 2 wrong usage or configuration, 3 input unusable or
broken off or output failed, 141 who reads standard output has left (as head does), 130, 143 or 129
ended by SIGINT, SIGTERM or SIGHUP: what was found up to there is kept.)";

constexpr double kPresenceRatio = 0.5;

constexpr char kGeohashFooter[] = R"(Examples:
  qorvel geohash encode 47.3712 8.5401 --length 7
  qorvel geohash decode u0qj6r
  qorvel geohash neighbours u0qj6r)";

Failure usageFailure(const std::string& what) {
    return {ExitCode::usage, what};
}

Failure usageFailure(const std::string& option, const std::string& text, const std::string& what) {
    return usageFailure(option + " \"" + text + "\": " + what);
}

Span readSpanOption(const std::string& option, const std::string& text) {
    try {
        return readSpan(text);
    } catch (const std::invalid_argument& error) {
        throw usageFailure(option, text, error.what());
    }
}

std::int64_t readLength(const std::string& option, const std::string& text,
                        const char* otherwise = "want days or a shorter unit") {
    const std::optional<std::int64_t> length = fixedLength(readSpanOption(option, text));
    if (!length) {
        throw usageFailure(option, text, otherwise);
    }
    return *length;
}

std::int64_t readLate(const std::string& text) {
    return text == "ever" ? std::numeric_limits<std::int64_t>::max()
                          : readLength("--late", text, "want days or a shorter unit, or \"ever\"");
}

TimeZone readZone(const std::string& name) {
    try {
        return TimeZone(name);
    } catch (const Fault& fault) {
        throw usageFailure(std::string("--time-zone: ") + fault.what());
    }
}

std::int64_t readMinutes(double minutes) {
    constexpr double kMinute = 60'000.0;
    constexpr double kMost = 1e9;
    if (!(minutes >= 0.0 && minutes <= kMost)) {
        throw usageFailure("--min-minutes must be a number of minutes, 0 or more");
    }
    return static_cast<std::int64_t>(std::ceil(minutes * kMinute));
}

/// What is asked of one command, while it is read: the options write into it.
struct Request {
    CommandLine line;
    std::string configFile;
    Config::Master master;
    Config::Assignment assignment;
    Config::Spec spec;
    std::vector<CLI::Option*> replacedByConfig;
};

void addSpan(CLI::App& command, const std::string& option, Span& span, const std::string& what) {
    command
        .add_option_function<std::string>(
            option,
            [&span, option](const std::string& text) { span = readSpanOption(option, text); }, what)
        ->default_str(span.text());
}

/// As in "90 seconds", in the largest unit that leaves no rest.
std::string lengthText(std::int64_t ms) {
    constexpr std::pair<std::int64_t, const char*> kUnits[] = {
        {86'400'000, "days"}, {3'600'000, "hours"}, {60'000, "minutes"}, {1000, "seconds"}};
    for (const auto& [length, unit] : kUnits) {
        if (ms % length == 0 && ms > 0) {
            return std::to_string(ms / length) + ' ' + unit;
        }
    }
    return std::to_string(ms) + " milliseconds";
}

/// A span of a fixed length, in ms.
void addLength(CLI::App& command, const std::string& option, std::int64_t& ms,
               const std::string& what) {
    command
        .add_option_function<std::string>(
            option, [&ms, option](const std::string& text) { ms = readLength(option, text); }, what)
        ->default_str(lengthText(ms));
}

template <typename Value>
CLI::Option* addValue(CLI::App& command, const std::string& option, Value& value,
                      const std::string& what) {
    return command.add_option(option, value, what)->capture_default_str();
}

/// A word for each value.
template <typename Value>
void addChoice(CLI::App& command, const std::string& option, Value& value,
               const std::map<std::string, Value>& words, const std::string& what) {
    CLI::Option* added = command.add_option_function<std::string>(
        option, [&value, words](const std::string& word) { value = words.at(word); }, what);
    std::vector<std::string> known;
    for (const auto& [word, meaning] : words) {
        known.push_back(word);
        if (meaning == value) {
            added->default_str(word);
        }
    }
    added->check(CLI::IsMember(known));
}

void addInput(CLI::App& command, InputOptions& input, bool isRequired = true) {
    const std::map<std::string, InputFormat> formats = {{"by-name", InputFormat::byName},
                                                        {"csv", InputFormat::csv},
                                                        {"tsv", InputFormat::tsv},
                                                        {"ndjson", InputFormat::ndjson},
                                                        {"gdal", InputFormat::gdal}};
    const std::map<std::string, TimeUnit> units = {{"by-value", TimeUnit::byValue},
                                                   {"s", TimeUnit::seconds},
                                                   {"ms", TimeUnit::milliseconds},
                                                   {"us", TimeUnit::microseconds},
                                                   {"ns", TimeUnit::nanoseconds}};
    const std::pair<const char*, const char*> columns[] = {
        {"--entity-column", "who"},
        {"--lat-column", "the latitude, degrees"},
        {"--lon-column", "the longitude, degrees"},
        {"--time-column", "when"},
        {"--accuracy-column", "how exact, metres"},
        {"--primary-key-column", "the primary key"},
        {"--secondary-key-column", "the secondary key"}};
    command
        .add_option("FILE", input.file,
                    "file of tracks, - for standard input, or a database as in "
                    "\"PG:dbname=fleet\"")
        ->required(isRequired);
    const std::string group = "Input";
    addChoice(command, "--input-format", input.format, formats,
              "format of the tracks; standard input is taken for CSV");
    command.get_option("--input-format")->group(group);
    for (std::size_t field = 0; field < input.columns.size(); ++field) {
        command
            .add_option(columns[field].first, input.columns[field],
                        std::string("column that says ") + columns[field].second)
            ->group(group);
    }
    addChoice(command, "--time-unit", input.timeUnit, units,
              "of times that are plain numbers; by-value: ms if the column's name ends in _ms, "
              "else seconds if the first one is below 10^11; what is beyond the year 5138 then is "
              "refused");
    command.get_option("--time-unit")->group(group);
    command
        .add_option(
            "--gdal-driver", input.gdalDriver,
            "the one of GDAL's drivers that is to read the tracks; those of .gpx, .gpkg, "
            ".geojson, .geojsonl, .json, .fgb and .shp are known. It is trusted with all that it "
            "does: some read, write and fetch what a file tells them")
        ->group(group);
    command.add_option("--layer", input.layer, "layer of a GDAL source")->group(group);
}

void addEvents(CLI::App& command, EventOptions& events) {
    addValue(command, "--default-tolerance", events.defaultTolerance,
             "accuracy of a fix without one, metres");
    addValue(command, "--time-tolerance", events.timeTolerance, "of every fix, 0 or 1 millisecond");
}

/// The simple way to configure: one master, one assignment, one spec, and the file that says it
/// all instead.
void addSetup(CLI::App& command, Request& request, const char* ratioMeaning) {
    const std::string group = "Configuration";
    command
        .add_option("--config", request.configFile,
                    "TOML file with masters, assignments and specs, in place of the options of "
                    "this group")
        ->group(group);
    std::vector<std::string> replaced = {"--cell-length", "--box", "--space-factor",
                                         "--time-factor"};
    addValue(command, "--cell-length", request.master.cellLength,
             "length of a cell's geohash, 0 to 25 characters; 6 are 1200 m x 600 m at the "
             "equator, 7 150 m x 150 m, 8 38 m x 19 m. Even lengths hold a stay together "
             "better: the neighbours of a cell of odd length are twice as wide as it is");
    addSpan(command, "--box", request.master.box, "length of a time box, as a count and a unit");
    addValue(command, "--space-factor", request.assignment.spaceFactor,
             "share of a fix's accuracy within which it touches cells, 0 to 1. Only a cell's "
             "direct neighbours are reached, however poor the fix");
    addValue(command, "--time-factor", request.assignment.timeFactor,
             "share of the time tolerance, 0 to 1");
    if (ratioMeaning != nullptr) {
        addSpan(command, "--window", request.spec.window,
                "how long a stay must be (hangouts, stays), or what is looked back upon "
                "(presence); shorter than a time box");
        addValue(command, "--min-count", request.spec.minCount,
                 "fixes in a cell's series to report it");
        addValue(command, "--ratio", request.spec.ratio, ratioMeaning);
        replaced.insert(replaced.end(), {"--window", "--min-count", "--ratio"});
    }
    for (const std::string& option : replaced) {
        request.replacedByConfig.push_back(command.get_option(option)->group(group));
    }
}

void addRun(CLI::App& command, RunOptions& run) {
    const std::map<std::string, OutputFormat> formats = {{"by-name", OutputFormat::byName},
                                                         {"csv", OutputFormat::csv},
                                                         {"ndjson", OutputFormat::ndjson},
                                                         {"geojson", OutputFormat::geojson},
                                                         {"geopackage", OutputFormat::geopackage},
                                                         {"flatgeobuf", OutputFormat::flatgeobuf},
                                                         {"html", OutputFormat::html}};
    run.threads = std::max(1U, std::thread::hardware_concurrency());
    addInput(command, run.input);
    addValue(command, "--out", run.output.file,
             "file for the results, which has its name only when it is complete; - for standard "
             "output");
    addChoice(command, "--format", run.output.format, formats,
              "format of the results; by the file's name: .csv .ndjson .geojson .gpkg .fgb, "
              "and .html for a page with a map that needs nothing but a browser");
    command.add_option(
        "--tiles", run.output.tiles,
        "for a page: the address of a street map's tiles, with {z}, {x} and {y}. The page gets a "
        "button for it, and asks that host for nothing until it is pressed");
    command.add_option("--rejects", run.rejectsFile,
                       "CSV file for the rows that cannot be used, with line and reason");
    command.add_flag(
        "--csv-safe", run.output.isCsvSafe,
        "for CSV that a spreadsheet opens: an apostrophe in front of names that begin with = + - @ "
        "(which would run there as formulas), a tab, a line break or an apostrophe; otherwise "
        "names "
        "are written as they came");
    command.add_flag("--strict", run.isStrict, "stop at the first bad row");
    command.add_flag("--quiet", run.isQuiet, "neither progress nor summary");
    command.add_option("--threads", run.threads, "threads; the output does not depend on it")
        ->default_str("all cores")
        ->check(CLI::Range(1U, 256U));
    addEvents(command, run.events);
}

void addLate(CLI::App& command, RunOptions& run) {
    command.add_option_function<std::string>(
        "--late", [&run](const std::string& text) { run.late = readLate(text); },
        "how far a row may lie behind the newest one before it, as in \"2 hours\", or \"ever\": "
        "what is older is forgotten, which bounds the memory. Later rows are processed as they "
        "come, and counted. Not said: a file may be in any order (it is read twice to know it), "
        "other input has \"1 days\"");
}

void addSynth(CLI::App& command, SynthOptions& synth) {
    addValue(command, "--entities", synth.world.entities, "people, vans and ships")
        ->check(CLI::Range(1U, 1000000U));
    addValue(command, "--days", synth.world.days, "length")->check(CLI::Range(1U, 3650U));
    addValue(command, "--seed", synth.world.seed, "another one is another world");
    addValue(command, "--out", synth.tracksFile, "file for the tracks; - for standard output");
    command.add_option("--truth", synth.truthFile,
                       "file for who stayed where, from when to when; - for standard output");
}

void addGeohash(CLI::App& command, GeohashOptions& geohash) {
    const auto addTask = [&](const char* name, GeohashOptions::Task task, const char* what) {
        CLI::App* added = command.add_subcommand(name, what);
        added->callback([&geohash, task] { geohash.task = task; });
        return added;
    };
    CLI::App* encode = addTask("encode", GeohashOptions::Task::encode, "the cell of a point");
    encode->add_option("LAT", geohash.latitude, "degrees")->required();
    encode->add_option("LON", geohash.longitude, "degrees")->required();
    CLI::Option* bits =
        addValue(*encode, "--bits", geohash.bits, "bits of the cell")->check(CLI::Range(0U, 128U));
    encode
        ->add_option_function<std::uint32_t>(
            "--length",
            [&geohash](const std::uint32_t& length) {
                constexpr std::uint32_t kBitsPerCharacter = 5;
                geohash.bits = length * kBitsPerCharacter;
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
            ->add_option("GEOHASH", geohash.text, "text of the cell")
            ->required();
    }
    command.require_subcommand(1);
    command.footer(kGeohashFooter);
}

/// Whether to write the one would replace the other.
bool isSameFile(const std::string& written, const std::string& other) {
    return !written.empty() && (written == other || (!isWrittenDirectly(written) &&
                                                     targetOf(written) == targetOf(other)));
}

/// What the library lets pass, or would only fail on in silence.
void refuseSenseless(const CommandLine& line) {
    const EventOptions& events = line.run.events;
    if (!std::isfinite(events.defaultTolerance) || events.defaultTolerance < 0.0) {
        throw usageFailure("--default-tolerance must be a number of metres, 0 or more");
    }
    if (events.timeTolerance > 1) {
        throw usageFailure("--time-tolerance must be 0 or 1");
    }
    if (line.command == Command::synth && isSameFile(line.synth.truthFile, line.synth.tracksFile)) {
        throw usageFailure("--out and --truth cannot be the same");
    }
    if (line.command == Command::explain && line.explain.row + line.explain.line == 0) {
        throw usageFailure("which row? --row or --line says it");
    }
    const std::string input = line.run.input.file == "-" ? "/dev/stdin" : line.run.input.file;
    const std::string& rejects = line.run.rejectsFile;
    if (isSameFile(rejects, line.run.output.file) || isSameFile(rejects, input)) {
        throw usageFailure("--rejects cannot be the file of the tracks or of the results");
    }
    if (isSameFile(line.run.output.file, input)) {
        throw usageFailure("--out cannot be the file of the tracks");
    }
}

/// The parser with all commands. Each command's options write into a request of its own, since the
/// defaults differ.
class Parser {
public:
    Parser() {
        app_.set_version_flag("--version", "qorvel " QORVEL_VERSION);
        app_.set_help_all_flag("--help-all", "the help of all commands");
        app_.footer(kFooter);
        app_.require_subcommand(1);
        addAnalyses();
        addOthers();
    }

    std::variant<CommandLine, ExitCode> parse(int argc, const char* const* argv) {
        refuseUnknownCommand(argc, argv);
        try {
            app_.parse(argc, argv);
        } catch (const CLI::ParseError& end) {
            std::ostringstream text;
            const bool complains = app_.exit(end, text, std::cerr) != 0;
            print(text.str());
            return complains ? ExitCode::usage : ExitCode::done;
        }
        for (const auto& [command, request] : requests_) {
            if (command->parsed()) {
                return finished(*request);
            }
        }
        return ExitCode::usage;
    }

    std::variant<CommandLine, ExitCode> printCompletion() {
        print(completionScript(app_));
        return ExitCode::done;
    }

private:
    CLI::App& add(Command kind, const char* name, const char* what) {
        CLI::App* command = app_.add_subcommand(name, what);
        requests_.emplace_back(command, std::make_unique<Request>());
        last().line.command = kind;
        return *command;
    }

    Request& last() { return *requests_.back().second; }

    CLI::App& add(Question question, const char* name, const char* what) {
        CLI::App& command = add(Command::analyse, name, what);
        last().line.run.analysis.question = question;
        return command;
    }

    void addAnalyses() {
        CLI::App& boxes = add(Question::boxes, "boxes", "the cells and time boxes of every fix");
        addRun(boxes, last().line.run);
        addSetup(boxes, last(), nullptr);

        CLI::App& presence = add(Question::presence, "presence",
                                 "who was seen often enough in which cell and time box");
        last().spec.ratio = kPresenceRatio;
        addDetection(presence, "share of the fixes that a box must have, 0 to 1");
        addFinal(presence);

        constexpr char kShareOfCount[] =
            "share of --min-count that a box must have in fixes, 0 to 1";
        CLI::App& hangouts = add(Question::hangouts, "hangouts",
                                 "who stayed without a break in which cell and time box");
        addDetection(hangouts, kShareOfCount);
        addFinal(hangouts);

        addStays(add(Question::stays, "stays", "who stayed where, from when to when"));
        addPlaces(add(Question::places, "places",
                      "where who stayed again and again, how long, by night and by weekday"));
        addMeet(add(Question::encounters, "meet", "who was with whom, from when to when"));
    }

    void addStays(CLI::App& command) {
        RunOptions& run = last().line.run;
        StayOptions& stays = run.analysis.stays;
        addRun(command, run);
        addLate(command, run);
        addValue(command, "--radius", stays.radius,
                 "how far from the middle of a stay its fixes may lie, metres");
        addLength(command, "--min-stay", stays.minStay, "the least time that makes a stay");
        addLength(command, "--max-gap", stays.maxGap,
                  "a longer silence ends a stay, unless the next fix is at the same place");
        addLength(command, "--max-bridge", stays.maxBridge, "a longer silence ends it in any case");
        addLength(command, "--max-away", stays.maxAway,
                  "fixes elsewhere end a stay when they go on for so long; shorter runs are "
                  "strays");
        addValue(command, "--max-accuracy", stays.maxAccuracy,
                 "a less accurate fix neither begins, ends nor moves a stay, metres");
    }

    void addPlaces(CLI::App& command) {
        PlaceOptions& places = last().line.run.analysis.places;
        addStays(command);
        command.get_option("--radius")
            ->description(
                "how far from the middle of a stay its fixes may lie, and from that of a place its "
                "stays, metres");
        command
            .add_option_function<std::string>(
                "--time-zone", [&places](const std::string& name) { places.zone = readZone(name); },
                "whose clocks tell nights (22 to 6) and days of the week, as in "
                "\"Europe/Berlin\", or an offset such as \"+02:00\"")
            ->default_str(places.zone.name());
        command.add_flag("--label", places.labels,
                         "name the likely home, with most hours by night, and work, with most "
                         "hours from 9 to 17 on Mondays to Fridays elsewhere, if a visit is an "
                         "hour long on average");
    }

    void addMeet(CLI::App& command) {
        RunOptions& run = last().line.run;
        EncounterOptions& encounters = run.analysis.encounters;
        addRun(command, run);
        addLate(command, run);
        addValue(command, "--within", encounters.within,
                 "how near two are who are together, metres");
        addLength(command, "--apart", encounters.apart,
                  "how far apart in time two fixes may be for what is between them to be known: "
                  "where somebody was on the way from one to the next, or that two stayed "
                  "together");
        command
            .add_option_function<double>(
                "--min-minutes",
                [&encounters](const double& minutes) {
                    encounters.minDuration = readMinutes(minutes);
                },
                "leave out shorter encounters")
            ->default_str("0");
        command.add_flag("--pairs", encounters.pairs,
                         "the sums of each pair of entities, longest together first, in place of "
                         "their encounters");
    }

    void addDetection(CLI::App& command, const char* ratioMeaning) {
        addRun(command, last().line.run);
        addSetup(command, last(), ratioMeaning);
        addLate(command, last().line.run);
    }

    void addFinal(CLI::App& command) {
        command.add_flag(
            "--final", last().line.run.analysis.lastFigures,
            "the last figures of each entity, cell and box, not those of its first report");
    }

    void addOthers() {
        const std::map<std::string, ProcessorKind> uses = {{"boxes", ProcessorKind::boxes},
                                                           {"presence", ProcessorKind::presence},
                                                           {"hangouts", ProcessorKind::hangouts}};
        CLI::App& explain = add(Command::explain, "explain",
                                "which tests a row passes, what it adds to, and why it finds "
                                "something or nothing");
        ExplainOptions& explained = last().line.explain;
        addInput(explain, explained.input);
        CLI::Option* row =
            explain.add_option("--row", explained.row, "number of the row, the first being 1");
        explain.add_option("--line", explained.line, "or the line on which it begins")
            ->excludes(row);
        addChoice(explain, "--for", explained.use, uses, "what is to be explained");
        addEvents(explain, last().line.run.events);
        addSetup(explain, last(), "as for that command");
        explain.get_option("--ratio")->default_str("that command's");
        explain.parse_complete_callback([&explain, &explained, &spec = last().spec] {
            if (explained.use == ProcessorKind::presence && explain.count("--ratio") == 0) {
                spec.ratio = kPresenceRatio;
            }
        });

        CLI::App& check = add(Command::check, "check",
                              "a configuration as it is understood, and what is wrong with it");
        check.add_option("--config", last().configFile, "TOML file")->required();
        addInput(check, last().line.check.tracks, false);
        addEvents(check, last().line.run.events);

        CLI::App& geohash = add(Command::geohash, "geohash", "geohash texts to places and back");
        addGeohash(geohash, last().line.geohash);

        CLI::App& synth = add(Command::synth, "synth",
                              "a made-up town's tracks and the truth about them, the same on every "
                              "machine");
        addSynth(synth, last().line.synth);
    }

    /// CLI11 would only say that a command is missing.
    void refuseUnknownCommand(int argc, const char* const* argv) const {
        const std::string_view word = argc > 1 ? argv[1] : "-";
        std::string known;
        for (const auto& [command, request] : requests_) {
            if (command->get_name() == word) {
                return;
            }
            known += ' ' + command->get_name();
        }
        if (word.empty() || word.front() != '-') {
            throw usageFailure("there is no command \"" + std::string(word) + "\"; there are" +
                               known);
        }
    }

    static CommandLine finished(Request& request) {
        CommandLine& line = request.line;
        refuseSenseless(line);
        line.run.config = configOf(request);
        for (InputOptions* input : {&line.run.input, &line.explain.input, &line.check.tracks}) {
            ignoreKeysWithoutConfig(*input, line.run.config);
        }
        line.explain.config = line.check.config = line.run.config;
        line.explain.events = line.check.events = line.run.events;
        return line;
    }

    static void ignoreKeysWithoutConfig(InputOptions& input, const Config& config) {
        input.readsKeys = !config.file.empty();
        for (const FixField field : {FixField::primaryKey, FixField::secondaryKey}) {
            if (!input.readsKeys && !input.columns[static_cast<std::size_t>(field)].empty()) {
                throw usageFailure("keys count only with --config: without it all rows do");
            }
        }
    }

    static void refuseBoth(const Request& request) {
        for (const CLI::Option* option : request.replacedByConfig) {
            if (option->count() > 0) {
                throw usageFailure(option->get_name() + " goes into the file of --config");
            }
        }
    }

    static ProcessorKind processorKindFor(const CommandLine& line) {
        return line.command == Command::explain ? line.explain.use
                                                : processorKindOf(line.run.analysis.question);
    }

    static Config configOf(const Request& request) {
        if (!request.configFile.empty()) {
            refuseBoth(request);
            return readConfig(request.configFile);
        }
        Config config;
        config.masters = {request.master};
        config.assignments = {request.assignment};
        switch (processorKindFor(request.line)) {
        case ProcessorKind::boxes:
            break;
        case ProcessorKind::presence:
            config.presence = {request.spec};
            break;
        case ProcessorKind::hangouts:
            config.hangouts = {request.spec};
            break;
        }
        return config;
    }

    CLI::App app_{"Finds where and when moving entities stayed and met, in cells of a geohash and "
                  "boxes of time.",
                  "qorvel"};
    std::vector<std::pair<CLI::App*, std::unique_ptr<Request>>> requests_;
};

} // namespace

std::variant<CommandLine, ExitCode> readCommandLine(int argc, const char* const* argv) {
    Parser parser;
    // Asked for once, when the program is built: no option that users need see.
    if (argc == 2 && std::string_view(argv[1]) == "--bash-completion") {
        return parser.printCompletion();
    }
    return parser.parse(argc, argv);
}

} // namespace program
