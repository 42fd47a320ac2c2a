#include "program/cli/runGroup.h"

#include "program/cli/filterGroup.h"
#include "program/cli/inputGroup.h"
#include "program/cli/options.h"
#include "program/input/inputFiles.h"
#include "program/output/PartialFile.h"
#include "program/shownName.h"
#include "program/tell.h"

#include <algorithm>
#include <limits>
#include <thread>

namespace program {

namespace {

std::int64_t readLate(const std::string& text) {
    return text == "ever" ? std::numeric_limits<std::int64_t>::max()
                          : readLength("--late", text, "want days or a shorter unit, or \"ever\"");
}

void addState(CLI::App& command, StateOptions& state) {
    const std::string group = "State";
    CLI::Option* const file =
        command
            .add_option("--state", state.file,
                        "file that says how far a run has come, for files of CSV or NDJSON and "
                        "--out NAME.csv or NAME.ndjson: the same command, started again, goes on "
                        "from there, after it was killed or when the input has grown. Results are "
                        "added to the output where it stands; the input is read once, so --late "
                        "counts as for a pipe")
            ->group(group);
    addLength(command, "--state-every", state.every,
              "how long between two times that it is written, at least");
    command.get_option("--state-every")->needs(file)->group(group);
    command
        .add_flag("--finish", state.finishes,
                  "also write what is under way at the end of the input, and read a last line "
                  "without a line end, as without --state. The next run takes that back and goes "
                  "on. Otherwise both wait for what follows, and what is written stays")
        ->needs(file)
        ->group(group);
}

} // namespace

void addRun(CLI::App& command, RunOptions& run) {
    const std::map<std::string, OutputFormat> formats = {{"by-name", OutputFormat::byName},
                                                         {"csv", OutputFormat::csv},
                                                         {"ndjson", OutputFormat::ndjson},
                                                         {"geojson", OutputFormat::geojson},
                                                         {"geopackage", OutputFormat::geopackage},
                                                         {"flatgeobuf", OutputFormat::flatgeobuf},
                                                         {"parquet", OutputFormat::parquet},
                                                         {"arrow", OutputFormat::arrow},
                                                         {"html", OutputFormat::html}};
    run.threads = std::clamp(std::thread::hardware_concurrency(), 1U, 256U);
    addInput(command, run.input);
    addFilters(command, run.input, run.filter);
    addValue(command, "--out", run.output.file,
             "file for the results, which has its name only when it is complete; - for standard "
             "output; what ends in .csv.gz, .ndjson.gz or .geojson.gz is packed");
    command.add_option("--table", run.output.table,
                       "table for the results, where --out is a database as in "
                       "\"PG:dbname=fleet\"; it is there when it is complete. Not said: what the "
                       "command finds, as in stays");
    command.add_flag("--replace-table", run.output.replacesTable,
                     "a table of that name goes when the new one is complete");
    addChoice(command, "--format", run.output.format, formats,
              "format of the results; by the file's name: .csv .ndjson .geojson .gpkg .fgb, "
              ".parquet and .arrow where GDAL has their drivers, and .html for a page with a map "
              "that needs nothing but a browser");
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
    command
        .add_option("--max-rejects", run.mostRejects,
                    "stop when there are more bad rows, with exit code 3")
        ->check([](const std::string& text) {
            return text.starts_with('-') ? std::string("want a number of rows, 0 or more") : "";
        });
    command.add_flag_callback(
        "--strict", [&run] { run.mostRejects = 0; },
        "stop at the first bad row, as --max-rejects 0");
    command.add_flag("--quiet", run.isQuiet, "neither progress nor summary");
    addChoice(command, "--summary", run.isSummaryJson, {{"text", false}, {"json", true}},
              "the summary as a sentence, or as an object on a line of standard error (also with "
              "--quiet)");
    command
        .add_option_function<std::string>(
            "--log",
            [&run](const std::string& word) {
                setLogFormat(word == "json" ? LogFormat::json : LogFormat::text);
                run.isSummaryJson = run.isSummaryJson || word == "json";
            },
            "messages as text, or each as an object on a line; json has the summary so, too")
        ->check(CLI::IsMember({"text", "json"}))
        ->default_str("text");
    command.add_option("--threads", run.threads, "threads; the output does not depend on it")
        ->default_str("all cores")
        ->check(CLI::Range(1U, 256U));
    addEvents(command, run.events);
    addState(command, run.state);
}

void addLate(CLI::App& command, RunOptions& run) {
    command.add_option_function<std::string>(
        "--late", [&run](const std::string& text) { run.late = readLate(text); },
        "how far a row may lie behind the newest one before it, as in \"2 hours\", or \"ever\": "
        "what is older is forgotten, which bounds the memory. Later rows are processed as they "
        "come, and counted. Not said: a file may be in any order (it is looked through first), "
        "other input has \"1 days\"");
}

void addSortBeyond(CLI::App& command, RunOptions& run) {
    addValue(command, "--sort-beyond", run.sortBeyond,
             "a file in such disorder that more MiB of its rows would wait in memory for older "
             "ones is sorted by time first, in the folder for temporary files (TMPDIR). With "
             "--late, with --state and for other input no file is sorted")
        ->check(CLI::NonNegativeNumber);
}

void refuseAmbiguous(const std::string& name) {
    if (isAmbiguousAddress(name)) {
        throw usageFailure(shownName(name) + ": it is not clear where the password ends: write %40 "
                                             "for @, %2F for /, %3F for ? and %23 for # in it");
    }
}

/// Is the file a state, or one of those that a state has beside it, see StateFile?
bool isOfState(const std::string& state, const std::string& file) {
    const auto isBeside = [&](const char* ending) {
        return isSameFile(targetOf(state).string() + ending, file);
    };
    return isSameFile(state, file) ||
           (!state.empty() && (isBeside(".new") || isBeside(".previous")));
}

void settle(RunOptions& run) {
    run.output.zone = run.input.zone;
    refuseSenseless(run.events);
    if (run.filter.from > run.filter.to) {
        throw usageFailure("--from has to be before --to");
    }
    if (isSameFile(run.rejectsFile, run.output.file)) {
        throw usageFailure("--rejects cannot be the file of the results");
    }
    refuseAmbiguous(run.output.file);
    if (isOfState(run.state.file, run.output.file) || isOfState(run.state.file, run.rejectsFile)) {
        throw usageFailure("--state cannot be a file that rows are written to, and neither can "
                           "what it has beside it, as in s.state.new and s.state.previous");
    }
    for (const std::string& file : inputFiles(run.input).names) {
        refuseAmbiguous(file);
        refuseUnit(file);
        const std::string input = file == "-" ? "/dev/stdin" : file;
        if (isSameFile(run.rejectsFile, input)) {
            throw usageFailure("--rejects cannot be the file of the tracks");
        }
        if (isOfState(run.state.file, input)) {
            throw usageFailure("--state cannot be the file of the tracks, and neither can what it "
                               "has beside it, as in s.state.new and s.state.previous");
        }
        if (isSameFile(run.output.file, input) && !isPostgres(input)) { // which has many tables
            throw usageFailure("--out cannot be the file of the tracks");
        }
        if (run.output.replacesTable && isPostgres(run.output.file) && isPostgres(input)) {
            // The reader would wait for the lock that the writer holds until the reader is done.
            throw usageFailure("--replace-table cannot be where tracks come from a database, too: "
                               "name a new --table");
        }
    }
}

ExitCode runUnconfigured(RunOptions& run) {
    settle(run);
    ignoreKeys(run.input);
    return runAnalysis(run);
}

} // namespace program
