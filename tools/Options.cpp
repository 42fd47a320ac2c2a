#include "tools/Options.h"

#include "qorvel/model/TimeBoxSpec.h"
#include "qorvel/version.h"

#include <CLI/CLI.hpp>
#include <array>
#include <charconv>
#include <cmath>
#include <iostream>
#include <limits>
#include <sstream>
#include <string_view>
#include <system_error>

namespace host {

namespace {

constexpr char kUnitWords[] = "milliseconds, seconds, minutes, hours, days, months, years, ever";

/// Lengths of the units that always have the same one, in ms, by the library's unit codes.
constexpr std::array<std::int64_t, 5> kUnitMillis = {1, 1000, 60000, 3600000, 86400000};

constexpr std::uint32_t kEver = 7; ///< the library's unit code

constexpr char kExamples[] = R"(Examples:
  qorvel synth --out tracks.csv --truth truth.csv
  qorvel hangouts tracks.csv > hangouts.csv
  qorvel hangouts --window "30 minutes" --box "1 days" --final tracks.csv
  zcat tracks.csv.gz | qorvel presence --cell-length 6 -

Input: CSV with a header that names entity, lat, lon, time_ms and, optionally, accuracy_m, in any
order: degrees, ms since 1970 UTC, metres. Rows are taken in the order of the file. Bad rows are
reported on standard error, skipped and counted.

Exit codes: 0 done, 1 some rows rejected, 2 wrong usage or configuration, 3 input unusable or
broken off or output failed, 130 interrupted.)";

Failure usageFailure(const std::string& option, const std::string& text, const std::string& what) {
    return {ExitCode::usage, option + " \"" + text + "\": " + what};
}

/// "30 minutes", "30minutes", or just "ever".
Span splitSpan(const std::string& option, const std::string& text) {
    Span span;
    const char* end = text.data() + text.size();
    const auto [unit, error] = std::from_chars(text.data(), end, span.count);
    if (error == std::errc::invalid_argument) {
        span = {1, text};
    } else if (error != std::errc()) {
        throw usageFailure(option, text, "the count must be at most 4294967295");
    } else {
        const std::string_view rest(unit, static_cast<std::size_t>(end - unit));
        span.unit = rest.substr(std::min(rest.find_first_not_of(' '), rest.size()));
    }
    const TimeBoxSpec known(span.count, span.unit);
    std::stringstream tags;
    if (!known.isValid(tags) || (unit == text.data() && known.unit != kEver)) {
        throw usageFailure(
            option, text,
            std::string("want a count and a unit, as in \"1 hours\"; the units are ") + kUnitWords +
                (tags.str().empty() ? "" : " [" + tags.str() + "]"));
    }
    if (span.count == 0) {
        throw usageFailure(option, text, "a count of 0 is no length of time");
    }
    return span;
}

/// The length of a span in ms; none for the calendar units and "ever".
std::optional<std::int64_t> fixedLength(const Span& span) {
    const std::uint32_t unit = TimeBoxSpec(span.count, span.unit).unit;
    if (unit >= kUnitMillis.size()) {
        return std::nullopt;
    }
    return span.count * kUnitMillis[unit];
}

/// A box or window. The library counts lengths in 32 bits and lets them wrap: 50 days would become
/// seven hours without a word.
Span readSpan(const std::string& option, const std::string& text) {
    const Span span = splitSpan(option, text);
    constexpr std::int64_t kMost = std::numeric_limits<std::uint32_t>::max();
    if (fixedLength(span).value_or(0) > kMost) {
        throw usageFailure(option, text,
                           "longer than 4294967295 ms (49 days), the most that counts");
    }
    return span;
}

std::int64_t readLate(const std::string& text) {
    const Span span = splitSpan("--late", text);
    if (TimeBoxSpec(span.count, span.unit).unit == kEver) {
        return std::numeric_limits<std::int64_t>::max();
    }
    const std::optional<std::int64_t> length = fixedLength(span);
    if (!length) {
        throw usageFailure("--late", text, "want days or a shorter unit, or \"ever\"");
    }
    return *length;
}

void addSpan(CLI::App& command, const std::string& option, Span& span, const std::string& what) {
    command
        .add_option_function<std::string>(
            option, [&span, option](const std::string& text) { span = readSpan(option, text); },
            what)
        ->default_str(std::to_string(span.count) + ' ' + span.unit);
}

void addInput(CLI::App& command, Options& options) {
    command.add_option("FILE", options.file, "CSV file; - for standard input")->required();
    command
        .add_option("--cell-length", options.cellLength,
                    "length of a cell's geohash, 0 to 25 characters; 6 are 1200 m x 600 m at the "
                    "equator, 7 150 m x 150 m, 8 38 m x 19 m. Even lengths hold a stay together "
                    "better: the neighbours of a cell of odd length are twice as wide as it is")
        ->capture_default_str();
    addSpan(command, "--box", options.box, "length of a time box, as a count and a unit");
    command
        .add_option(
            "--space-factor", options.spaceFactor,
            "share of a fix's accuracy within which it touches cells, 0 to 1. Only a cell's "
            "direct neighbours are reached, however poor the fix")
        ->capture_default_str();
    command
        .add_option("--default-tolerance", options.defaultTolerance,
                    "accuracy of a fix without one, metres")
        ->capture_default_str();
    command
        .add_option("--time-tolerance", options.timeTolerance, "of every fix, 0 or 1 millisecond")
        ->capture_default_str();
    command.add_option("--time-factor", options.timeFactor, "share of the time tolerance, 0 to 1")
        ->capture_default_str();
}

void addDetection(CLI::App& command, Options& options, const std::string& ratioMeaning) {
    addSpan(command, "--window", options.window,
            "how long a stay must be (hangouts), or what is looked back upon (presence); shorter "
            "than a time box");
    command.add_option("--min-count", options.minCount, "fixes in a cell's series to report it")
        ->capture_default_str();
    command.add_option("--ratio", options.ratio, ratioMeaning)->capture_default_str();
    command.add_flag(
        "--final", options.lastFigures,
        "the last figures of each entity, cell and box, not those of its first report");
    command.add_option_function<std::string>(
        "--late", [&options](const std::string& text) { options.late = readLate(text); },
        "how far a row may lie behind the newest one before it, as in \"2 hours\", or \"ever\"; "
        "later rows are rejected. Bounds the memory. Not said: a file may be in any order (it is "
        "read twice to know it), other input has \"1 days\"");
}

void addSynth(CLI::App& command, Options& options) {
    command.add_option("--entities", options.world.entities, "people, vans and ships")
        ->capture_default_str()
        ->check(CLI::Range(1U, 1000000U));
    command.add_option("--days", options.world.days, "length")
        ->capture_default_str()
        ->check(CLI::Range(1U, 3650U));
    command.add_option("--seed", options.world.seed, "another one is another world")
        ->capture_default_str();
    command.add_option("--out", options.tracksFile, "file for the tracks; - for standard output")
        ->capture_default_str();
    command.add_option("--truth", options.truthFile,
                       "file for who stayed where, from when to when; - for standard output");
}

/// What the library lets pass, or would only fail on in silence.
void refuseSenseless(const Options& options) {
    const auto refuse = [](const char* what) { throw Failure(ExitCode::usage, what); };
    constexpr std::uint32_t kLongestCell = 25;
    if (options.cellLength > kLongestCell) {
        refuse("--cell-length must be 0 to 25 characters [ERROR_SPACEBOXSPEC_1,]");
    }
    if (std::isnan(options.spaceFactor) || std::isnan(options.timeFactor)) {
        refuse("--space-factor and --time-factor must be numbers from 0 to 1");
    }
    if (!std::isfinite(options.defaultTolerance) || options.defaultTolerance < 0.0) {
        refuse("--default-tolerance must be a number of metres, 0 or more");
    }
    if (options.minCount == 0) {
        refuse("--min-count must be at least 1");
    }
    if (options.tracksFile == options.truthFile) {
        refuse("--out and --truth cannot be the same");
    }
}

} // namespace

std::variant<Options, ExitCode> readOptions(int argc, const char* const* argv) {
    CLI::App app("Finds where and when moving entities stayed, in cells of a geohash and boxes of "
                 "time.",
                 "qorvel");
    app.set_version_flag("--version", "qorvel " QORVEL_VERSION);
    app.footer(kExamples);
    app.require_subcommand(1);

    Options boxes;
    boxes.command = Command::boxes;
    CLI::App* boxesCommand = app.add_subcommand("boxes", "the cells and time boxes of every fix");
    addInput(*boxesCommand, boxes);

    Options presence;
    presence.command = Command::presence;
    presence.ratio = 0.5;
    CLI::App* presenceCommand =
        app.add_subcommand("presence", "who was seen often enough in which cell and time box");
    addInput(*presenceCommand, presence);
    addDetection(*presenceCommand, presence, "share of the fixes that a box must have, 0 to 1");

    Options hangouts;
    CLI::App* hangoutsCommand =
        app.add_subcommand("hangouts", "who stayed without a break in which cell and time box");
    addInput(*hangoutsCommand, hangouts);
    addDetection(*hangoutsCommand, hangouts,
                 "share of --min-count that a box must have in fixes, 0 to 1");

    Options synth;
    synth.command = Command::synth;
    CLI::App* synthCommand = app.add_subcommand(
        "synth", "a made-up town's tracks and the truth about them, the same on every machine");
    addSynth(*synthCommand, synth);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& end) {
        const bool complains = app.exit(end, std::cout, std::cerr) != 0;
        std::cout.flush();
        return complains ? ExitCode::usage : std::cout ? ExitCode::done : ExitCode::broken;
    }
    const Options& chosen = *boxesCommand      ? boxes
                            : *presenceCommand ? presence
                            : *hangoutsCommand ? hangouts
                                               : synth;
    refuseSenseless(chosen);
    return chosen;
}

} // namespace host
