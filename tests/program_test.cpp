// The program as its users see it: standard output, standard error and exit code.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace std::string_literals;

const std::string kHeader = "entity,lat,lon,time_ms,accuracy_m\n";
constexpr std::int64_t kStart = 1355831880000; // 2012-12-18T11:58:00Z

struct Outcome {
    int code;
    std::string out;
    std::string err;
};

/// A file in a folder that goes when the tests end.
std::string scratch(const std::string& name) {
    static const struct Folder {
        const std::string path = testing::TempDir() + "qorvel-" + std::to_string(getpid());
        Folder() { std::filesystem::create_directory(path); }
        ~Folder() { std::filesystem::remove_all(path); }
    } folder;
    return folder.path + '/' + name;
}

std::string slurp(const std::string& file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

std::string save(const std::string& name, const std::string& text) {
    std::ofstream(scratch(name)) << text;
    return scratch(name);
}

/// Runs a shell command line in which $Q is the program.
Outcome shell(const std::string& line, const std::string& out = scratch("out")) {
    const std::string command =
        "Q='" QORVEL_PROGRAM "'; { " + line + "; } >" + out + " 2>" + scratch("err");
    const int status = std::system(command.c_str());
    return {WEXITSTATUS(status), slurp(scratch("out")), slurp(scratch("err"))};
}

Outcome run(const std::string& arguments, const std::string& input) {
    return shell("$Q " + arguments + " <" + save("in", input));
}

std::int64_t lineCount(const std::string& text) {
    return std::count(text.begin(), text.end(), '\n');
}

/// Rows of an entity that stays at a place, one a minute from two minutes before noon on.
std::string stay(int minutes) {
    std::string rows = kHeader;
    for (int minute = 0; minute < minutes; ++minute) {
        rows += "a,47.3712,8.5401," + std::to_string(kStart + minute * 60000) + ",20\n";
    }
    return rows;
}

bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(Program, SaysWhatItCannotDoAndWhy) {
    const struct {
        int code;
        std::int64_t lines; // of output
        std::string arguments;
        std::string words;
        std::string input = stay(3);
    } rows[] = {
        {2, 0, "", "subcommand"},
        {2, 0, "hangouts", "FILE"},
        {2, 0, "boxes --final -", "--final"},
        {2, 0, "hangouts --box '0 hours' -", "a count of 0"},
        {2, 0, "presence --window '0 minutes' -", "a count of 0"},
        {2, 0, "hangouts --box '1 hor' -", "ERROR_TIMEBOXSPEC_1"},
        {2, 0, "hangouts --box 15 minutes -", "in quotes"}, // as the shell hands it on
        {2, 0, "presence --window '3 fortnights' -", "the units are"},
        {2, 0, "hangouts --box hours -", "want a count"},
        {0, 4, "boxes --box '50 days' -", "warning"}, // wraps to 7 hours
        {0, 4, "boxes --box '49 days' -", ""},
        {2, 0, "hangouts --box '15 minutes' -", "ERROR_MOTIONPROCESSOR_3"},
        {0, 1, "hangouts --box '900001milliseconds' --window '15 Minutes' -", ""},
        {2, 0, "hangouts --box '5 months' --window '21 hours' -", "longer than --window"},
        {0, 1, "hangouts --box '5 months' --window '20 hours' -", ""}, // counts as 20.9 hours
        {2, 0, "boxes --cell-length 26 -", "0 to 25"},
        {2, 0, "boxes --cell-length 858993460 -", "0 to 25"}, // times 5 is 4 in 32 bits
        {0, 4, "boxes --cell-length 25 --space-factor 0 -", ""},
        {2, 0, "hangouts --ratio 1.5 -", "ERROR_COMPRESSIONSPEC_1"},
        {2, 0, "boxes --space-factor nan -", "numbers from 0 to 1"},
        {2, 0, "boxes --space-factor 1.5 -", "ERROR_ASSIGN_2"},
        {2, 0, "boxes --time-factor 1.5 -", "ERROR_ASSIGN_7"},
        {2, 0, "boxes --time-tolerance 2 -", "0 or 1"},
        {2, 0, "boxes --default-tolerance inf -", "metres"},
        {2, 0, "check --config x --default-tolerance -1 -", "metres"},
        {2, 0, "hangouts --min-count 0 -", "at least 1"},
        {2, 0, "hangouts --late '2 months' -", "days or a shorter unit"},
        {2, 0, "synth --truth -", "cannot be the same"},
        {2, 0, "synth --out t.csv --truth ./t.csv", "cannot be the same"},
        {2, 0, "stays --out " + scratch("in") + " -", "file of the tracks"}, // is standard input
        {2, 0, "stays --rejects " + scratch(".") + "/in -", "file of the tracks"},
        {2, 0, "geohash encode nan 8", "no cell holds nan"},
        {2, 0, "geohash encode 8 nan", "no cell holds 8, nan"},
        {0, 1, "geohash encode 47.3712 8.5401 --length 7", "u0qj6rd\n"},
        {2, 0, "geohash encode 8", "LON is required"},
        {2, 0, "geohash encode - 8", "LAT - excludes LON"},
        {0, 3, "geohash encode - --length 7", "u0qj6rd\nu0qj6rd\n8",
         "47.3712,8.5401\r\n 47.3712 +8.5401\n0;-180"},
        {1, 6, "geohash encode -", "line 4: no cell holds 90, 0", "\nx,1\n1\n90,0\n1,nan\n0|0\n"},
        {1, 3, "geohash centroid -", "-67.5,-157.5\n\n47.109375,9.140625\n", "0\na\nu0q\n"},
        {1, 5, "geohash decode -", ",-157.5,0,-180,45,-135,", "8\n\n0123456789bcd\nx\x01"},
        {0, 3, "geohash neighbours 8", "\nx,8,9\n"}, // around longitude 180
        {2, 0, "geohash neighbours 88888888888888888888888", "up to 12 characters"},
        {0, 2, "geohash decode ''", ",0,-90,-180,90,180,"}, // the earth
        {2, 0, "explain --row 0 -", "which row"},
        {0, 20, "explain --for presence --row 1 -", "at least the ratio 0.5 of them"},
        {0, 20, "explain --for presence --ratio 0.25 --row 1 -", "at least the ratio 0.25 of them"},
        {0, 20, "explain --line 2 --default-tolerance 7 -", "within 7 m", kHeader + "a,1,2,3,\n"},
        {0, 1, "meet -", "0 results", // a quarter of an hour apart
         kHeader + "a,1,2,1355832060000,9\nb,1,2,1355832960000,9\n"},
        {0, 1, "meet -", "two can meet",
         kHeader + "a,1,2,1355832060000,9\na,1,2,1355832960000,9\n"},
        {0, 1, "meet --apart 1h -", "--within (50 m)",
         kHeader + "a,1,2,1355832060000,9\nb,1,3,1355832960000,9\n"},
        {0, 2, "meet --fixes-only --apart 15min -", "a,b,", // a millisecond more is too much
         kHeader + "a,1,2,0,9\nb,1,2,900000,9\nc,1,2,1800001,9\n"},
        {0, 1, "meet --fixes-only -", "at fixes within --apart (5 minutes)",
         kHeader + "a,1,2,0,9\na,1,2,900000,9\nb,1,2,1800000,9\nb,1,2,2700000,9\n"},
        {0, 1, "meet -", "15 minutes apart, and",
         kHeader + "a,1,2,0,9\na,1,2,900000,9\nb,1,2,1800000,9\nb,1,2,2700000,9\n"},
        {0, 1, "stays --max-accuracy 8 -", "3 of 3 fixes are less accurate than --max-accuracy"},
        {0, 1, "stays --min-stay 3h -", "of one place for --min-stay (3 hours)"},
        {0, 1, "places -", "no entity has two fixes", kHeader + "a,1,2,0,9\nb,1,2,900000,9\n"},
        {0, 1, "stays --max-bridge 2h -", "--max-bridge (2 hours)",
         kHeader + "a,1,2,0,9\na,1,2,86400000,9\n"},
        {0, 1, "presence -", "holds about 0 where --min-count asks for 5",
         kHeader + "a,1,2,0,9\na,1,2,1200000,9\n"},
        {0, 1, "hangouts -", "holds about 3 where --min-count asks for 5",
         kHeader + "a,1,2,0,9\na,1,2,1200000,9\n"},
        {0, 1, "hangouts --min-count 4 -", "over --window (15 minutes)"},
        {2, 0, "travel", "there is no command \"travel\""},
        {2, 0, "boxes --config x --box '1 days' -", "--box goes into the file"},
        {2, 0, "boxes --primary-key-column k -", "keys count only with --config"},
        {0, 1, "--version", ""},
        {0, 1, "hangouts -", "0 rows read, 0 processed, 0 rejected, 0 results", kHeader},
        {0, 1, "hangouts --late ever --time-unit ms -", "3 processed",
         kHeader + "a,1,2,9223372036854775807,\na,1,2,0,\na,1,2,1,\n"},
        {3, 0, "hangouts -", "is empty", ""},
        {2, 0, "check --config /dev/zero", "longer than 1 MiB", ""},
        {3, 0, "hangouts -", "no column lon", "entity,lat,time_ms\na,1,2\n"},
        {3, 0, "hangouts -", "two columns \"lat\"", "entity,lat,lon,lat,time_ms\n"},
        {3, 0, "hangouts /no/such/file", "cannot open"},
        {3, 0, "hangouts " + scratch(""), "no file in the folder has a name that tells its format"},
        {2, 0, "stays --max-speed fast -", "want a speed above 0"},
        {2, 0, "stays --max-rejects -1 -", "--max-rejects: want a number of rows, 0 or more"},
        {2, 0, "stays --from 2012-12-19 --to 2012-12-19 -", "--from has to be before --to"},
        {2, 0, "stays --table t -", "--table and --replace-table are for a database"},
        {2, 0, "stays --replace-table --out x.csv -", "--table and --replace-table are for a data"},
        {2, 0, "stays --tiles https://h/{z}/{x}/{y}.png --out PG:dbname=x -", "--tiles is for a"},
        {2, 0, "stays --bbox 1,2,3 -", "west,south,east,north"},
        {2, 0, "stays --bbox 1,5,3,4 -", "south first"},
        {2, 0, "stays --bbox 1,2,x,4 -", "west,south,east,north"},
        {2, 0, "stays --bbox 1,2,3,91 -", "south first"},
        {2, 0, "stays --bbox 1,2,-181,4 -", "south first"},
        {2, 0, "stays --bbox -181,2,3,4 -", "south first"},
        {2, 0, "stays --bbox 1,-91,3,4 -", "south first"},
        {0, 4, "boxes --bbox 8,47,9,48 -", "3 processed"},
        {0, 1, "boxes --bbox 9,47,8,48 -", "3 left out"}, // across longitude 180
        {2, 0, "stays --max-speed '-1 km/h' -", "want a speed above 0"},
        {2, 0, "stays --max-speed 1e9m/s -", "want a speed above 0"},
        {0, 2, "meet --fixes-only --within 55.7km -", "a,b,", // 55.6 km apart
         kHeader + "a,1,2,0,9\nb,1,2.5,0,9\n"},
        {0, 1, "meet --fixes-only --within '182000 ft' -", "0 results",
         kHeader + "a,1,2,0,9\nb,1,2.5,0,9\n"},
        {2, 0, "stays --radius '200 yards' -", "\"200 yards\": want metres"},
        {2, 0, "stays --radius 200 m -", "a distance and its unit are one value"},
        {2, 0, "stays --state '' --out x.csv -", "--state has an empty value"},
        {2, 0, "stays --from soon -", "--from \"soon\": the time is no ISO"},
        {2, 0, "stays --to 2012.12.18 -", "--to \"2012.12.18\": the time is no ISO"},
        {2, 0, "stays --time-zone Nowhere/Land -", "Nowhere/Land"},
        {2, 0, "stays --entities " + scratch("gone") + " -", "cannot be read"},
        {2, 0, "stays --entities " + save("none", "\n") + " -", "names no entity"},
        {0, 4,
         "boxes --entities " +
             save("some", "\xEF\xBB\xBF"
                          "a\r\n\nb\n") +
             " -",
         "3 processed"},
        {2, 0, "meet --min-minutes -1 -", "0 or more"},
        {3, 0, "stays 'host=h password=x y'", "password=*** y"},
        {3, 0, "stays \"host=h password = 'x \\\\' y' z\"", "password = *** z"},
        {3, 0, "stays scheme://u:x@h/db", "scheme://u:***@h/db is no file"},
        {3, 0, "stays 'scheme://h/*?pwd' -", "scheme://h/*?pwd is no file"},
        {3, 0, "stays 'host=h password x password='", "host=h password x password=***"},
        {3, 0, "stays 'postgresql://u:x@/db?host=/nowhere'",
         "postgresql://u:***@/db?host=/nowhere"},
        {0, 7, "boxes " + save("one", stay(3)) + " -", "6 processed"},
        {2, 0, "stays PG:postgresql://u:x@y@h/db", "u:***@h/db: it is not clear where"},
        {2, 0, "stays --out postgresql://u:x/y@h/db -", "u:***@h/db: it is not clear where"},
        {3, 0, "stays 'PG:host=/nowhere dbname=x'", "PG:host=/nowhere dbname=x"},
        {3, 0, "stays --out 'PG:host=/nowhere dbname=x' -", "database cannot be opened"},
        {2, 0, "stays --replace-table --out PG:dbname=x PG:dbname=x", "name a new --table"},
        {2, 0, "stays --out x.parquet -", "no driver for Parquet files here; \"python -m qorvel\""},
        {2, 0, "stays --format arrow --out x -", "no driver for Arrow files here"},
        {2, 0, "stays --out x.gpkg.gz -", "cannot be written packed"},
        {0, 2, "boxes --entity b --entity a --from 2012-12-18T11:59Z --to 2012-12-18T12:00Z -",
         "3 rows read, 1 processed, 2 left out, 0 rejected"},
        {3, 5, "boxes --max-rejects 1 -", "stopped at bad row 2, more than --max-rejects",
         kHeader + "a,1,2,1,\nx\na,1,2,1,\ny\na,1,2,1,\n"},
        {0, 3, "boxes --time-zone Asia/Kolkata -", "\na,s", kHeader + "a,1,2,2012-12-18 17:30,\n"},
        {0, 3, "boxes --time-zone Asia/Kolkata -", ",2012-12-18T17:30:00+05:30\n",
         kHeader + "a,1,2,2012-12-18T12:00Z,\n"},
        {0, 2, "boxes --time-zone Africa/Monrovia -", ",1970-01-01T23:15:30-00:44:30\n",
         kHeader + "a,1,2,1970-01-02T00:00Z,0\n"},
        {1, 4, "boxes --log json -",
         "{\"level\":\"warning\",\"message\":\"standard input, line 5: 1 ", stay(3) + "bad\n"},
        {0, 1, "stays --summary json -", "\"remarks\":[\"", stay(3)},
        {1, 4, "boxes --quiet --summary json -",
         "{\"summary\":{\"interrupted\":false,\"rows_read\":4,", stay(3) + "bad\n"},
        {3, 0, "synth --entities 1 --out /dev/full", "No space left"},
        // Where the input breaks off, what came before it counts.
        {3, 4, "boxes -", "line 5: the input ends inside a quoted", stay(3) + "\"b,47,8,1,2\n"},
        {3, 1, "hangouts -", "line 5: the input ends inside a quoted", stay(3) + "\"b,47,8,1,2\n"},
        {3, 4, "boxes -", "line 5: a row is longer", stay(3) + std::string(1 << 21, 'x')},
        {3, 4, "boxes -", "line 5: a row is longer", stay(3) + std::string(1 << 21, ',')},
    };
    for (const auto& [code, lines, arguments, words, input] : rows) {
        const Outcome outcome = run(arguments, input);
        EXPECT_EQ(outcome.code, code) << arguments << outcome.err;
        EXPECT_TRUE(has(outcome.err + outcome.out, words)) << arguments << outcome.err;
        EXPECT_EQ(lineCount(outcome.out), lines) << arguments << outcome.out;
    }
    EXPECT_EQ(shell("$Q boxes - <" + save("in", stay(3)), "/dev/full").code, 3);
    EXPECT_EQ(shell("$Q --help", "/dev/full").code, 3);
}

TEST(Program, ReportsAndSkipsBadRows) {
    const struct {
        const char* row;
        const char* reason; // none: a good row
    } rows[] = {
        {"a,47,8,1000,20", nullptr},
        {"=a,47,8,1000", "4 fields where the header has 5"},
        {"a,47,8,1000,20,7", "6 fields"},
        {",47,8,1000,20", "entity is missing"},
        {"a,4\x1b[2J\x7f,8,1000,20", "lat is not a number"},
        {"a,,8,1000,20", "lat is missing"},
        {"a,47,8,,20", "time_ms is missing"},
        {"a,47,8 E,1000,20", "lon is not a number"},
        {"a,nan,8,1000,20", "lat is out of range"},
        {"a,47,inf,1000,20", "lon is out of range"},
        {"a,-90.01,8,1000,20", "lat is out of range"},
        {"a,-90,180,1000,20", nullptr}, // though no cell holds longitude 180
        {"a,47,180.5,1000,20", "lon is out of range"},
        {"a,47,8,-1,20", "time_ms is negative"},
        {"a,47,8,1.5e3,20", "time_ms is no whole number"},
        {"a,47,8,9223372036854775808,20", "time_ms is no whole number"},
        {"a,47,8,1000,-0.5", "accuracy_m is out of range"},
        {"a,47,8,1000,inf", "accuracy_m is out of range"},
        {"\"b\n,\"\"c\"\"\",47,8,0,", nullptr}, // no accuracy, two lines
        {"a,47,8,1000,x", "accuracy_m is not a number"},
    };
    std::string input = kHeader;
    for (const auto& row : rows) {
        input += row.row + std::string("\n");
    }
    const std::string bad = scratch("x.log"); // of which the partial names would be the same
    const std::string out = scratch("x.csv");
    const Outcome outcome =
        run("boxes --default-tolerance 0 --rejects " + bad + " --out " + out + " -", input);
    const std::string rejects = slurp(bad);
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(lineCount(slurp(out)), 4) << slurp(out);
    std::int64_t line = 2;
    std::size_t count = 0;
    for (const auto& [row, reason] : rows) {
        const std::string told = "line " + std::to_string(line) + ": ";
        const std::string kept = '\n' + std::to_string(line) + ',';
        EXPECT_EQ(has(outcome.err, told), reason != nullptr && count < 10) << row << outcome.err;
        EXPECT_EQ(has(rejects, kept), reason != nullptr) << row << rejects;
        const std::string verbatim = '"' + std::string(row) + "\"\n";
        EXPECT_TRUE(!reason || (has(rejects, verbatim) &&
                                (has(rejects, kept + reason) || has(rejects, kept + '"' + reason))))
            << row << rejects;
        count += reason ? 1 : 0;
        line += 1 + lineCount(row);
    }
    EXPECT_TRUE(has(outcome.err, "20 rows read, 3 processed, 17 rejected, 2 results"));
    EXPECT_TRUE(has(outcome.err, "4\\x1b[2J\\x7f\"") && !has(outcome.err, "\x1b")) << outcome.err;
    EXPECT_EQ(lineCount(outcome.err), 10 + 2) << "more are skipped, and the summary" << outcome.err;
    const Outcome strict = run("boxes --strict --csv-safe --rejects " + bad + " -", input);
    EXPECT_TRUE(has(slurp(bad), ",\"'=a")) << slurp(bad);
    EXPECT_EQ(strict.code, 3);
    EXPECT_TRUE(has(strict.err, "2 rows read, 1 processed, 1 rejected, 1 results")) << strict.err;
    EXPECT_TRUE(has(slurp(out), "\n\"b\n,\"\"c\"\"\",u0")) << outcome.out;
}

TEST(Program, WritesWhatItFound) {
    const std::string fix = "entity,lat,lon,time_ms\n\"007\",47.3712,8.5401,1355832000250\n";
    EXPECT_EQ(run("boxes --cell-length 7 --default-tolerance 0 -", fix).out,
              "entity,geohash,bits,lat,lon,box_start,box_end,time\n"
              "007,u0qj6rd,35,47.3709869,8.5398102,2012-12-18T12:00:00Z,2012-12-18T13:00:00Z,"
              "2012-12-18T12:00:00.250Z\n");
    const std::string late =
        "entity,lat,lon,time_ms\nb,47,8,253402300799999\nb,47,8,253402300800000\n";
    const std::string far = run("boxes --time-unit ms --cell-length 1 -", late).out;
    const std::string cell = "\nb,u,5,67.5000000,22.5000000,";
    EXPECT_TRUE(has(far, cell + "9999-12-31T23:00:00Z,ever,9999-12-31T23:59:59.999Z\n")) << far;
    EXPECT_TRUE(has(far, cell + "+10000-01-01T00:00:00Z,ever,+10000-01-01T00:00:00Z\n")) << far;

    // A quarter of an hour makes the stay; by the end it is twice as long.
    const std::string title = "entity,geohash,bits,lat,lon,box_start,box_end,total,before,after,"
                              "first_time,last_time,events\n";
    const std::string found = title + "a,u0qj6r,30,47.3703003,8.5418701,2012-12-18T12:00:00Z,"
                                      "2012-12-18T13:00:00Z,";
    EXPECT_EQ(run("hangouts -", stay(31)).out,
              found + "16,2,14,2012-12-18T11:58:00Z,2012-12-18T12:13:00Z,16\n");
    EXPECT_EQ(run("hangouts --final -", stay(31)).out,
              found + "31,2,29,2012-12-18T11:58:00Z,2012-12-18T12:28:00Z,31\n");
    EXPECT_EQ(run("presence -", stay(31)).out,
              found + "5,2,3,2012-12-18T11:58:00Z,2012-12-18T12:02:00Z,5\n");

    std::string other = "\xEF\xBB\xBFnote,accuracy_m,time_ms,entity,lon,lat\r\n\r\n";
    for (std::int64_t time = kStart; time < kStart + 31 * 60000; time += 60000) {
        other += "\"x,\ny\",20," + std::to_string(time) + ", \"a\" ,8.5401,47.3712\r\n";
    }
    EXPECT_EQ(run("presence -", other).out, run("presence -", stay(31)).out);
}

/// The shell's functions to talk with a program in the background: `start ARGUMENTS` makes pipes to
/// its input (3) and from its output (5) and error (4); `rest` waits for its end and gives its
/// code. What is awaited comes at once; only where it never does, the time runs out.
const char kTalk[] = R"(
start() { rm -rf talk; mkdir talk; cd talk; mkfifo in out err
    env $IGNORE --default-signal=INT,TERM $Q "$@" <in >out 2>err & exec 3>in 5<out 4<err; }
await() { timeout 100 head -n $1; }
rest() { timeout 100 cat <&5; timeout 100 cat <&4 >&2; exec 3>&-; wait $!; }
)";

TEST(Program, ShowsResultsAtOnceAndEndsCleanlyWhenInterrupted) {
    const std::string rows = save("in", stay(3) + "a bad row\ncut off,47.37");
    const std::string folder = scratch("");
    const struct {
        int code;
        std::string name;
        std::string out;
        std::string ignored = "--default-signal=HUP";
    } cases[] = {{130, "INT", "-"},
                 {143, "TERM", "o.csv"},
                 {129, "HUP", "o.ndjson"},
                 {143, "TERM", "o.gpkg"},
                 {130, "INT", "o.geojson"},
                 {129, "HUP", "o.fgb"},
                 {3, "HUP", "o.csv", "--ignore-signal=HUP"}};
    for (const auto& [code, name, out, ignored] : cases) {
        const bool isShown = out == "-";
        const Outcome ended = shell(
            kTalk + ("cd " + folder + "; IGNORE=" + ignored) + "; start boxes --out " + out +
            " -; cat " + rows + " >&3; await 1 <&4 >&2; " + (isShown ? "await 4 <&5; " : "") +
            "kill -" + name + (code == 3 ? " $!; exec 3>&-" : " $!") +
            "; rest; code=$?; ls | grep -v '^[a-z]*$' >../left; "
            "[ ! -e o.* ] || $Q boxes --entity-column entity --lat-column lat --lon-column lon "
            "--time-column time o.*; exit $code");
        EXPECT_EQ(ended.code, code) << ended.err;
        EXPECT_EQ(lineCount(ended.out), 4) << name << out << ended.out;
        EXPECT_EQ(has(ended.err, "interrupted: 4 rows read, 3 processed"), code > 128) << ended.err;
        EXPECT_EQ(lineCount(slurp(scratch("left"))), isShown ? 0 : 1) << slurp(scratch("left"));
        EXPECT_EQ(has(slurp(scratch("left")), "o.partial-"), !isShown) << name;
    }
    // Its end is held up by somebody who does not read: the first is only noted, another kills.
    const Outcome killed =
        shell(kTalk + ("cd " + folder) +
              "; start boxes --quiet --rejects /dev/stdout --out o.csv -; { cat " + rows +
              "; yes a,47 | head -n 9999; } >&3; exec 3>&-; await 1 <&4; for i in $(seq 300); do "
              "sleep 0.1; "
              "kill -TERM $! || break; done; rest; code=$?; ls o.csv; exit $code");
    EXPECT_EQ(killed.code, 143);
    EXPECT_TRUE(has(killed.err, "o.csv': No such")) << killed.err;
}

TEST(Program, HandsOnWhatIsFinalToAPipeThatNeverEnds) {
    // In each round two are together for an hour and then far apart, underway, for two.
    const std::string talk = save("talk.sh", R"(cd "$1"; rm -f rows found; mkfifo rows found
"$2" $3 --quiet --late '10 minutes' - <rows >found & exec 3>rows 5<found
echo entity,lat,lon,time_ms >&3
for round in 0 1 2 3; do
    awk -v r=$round 'BEGIN { for (m = 0; m < 180; m++) { away = m < 60 ? 0 : m / 50; t = r * 180 + m
        printf "a,%s,8,%d\nb,%s,8,%d\n", 47 + away, t * 60000, 47 - away, t * 60000 } }' >&3
    [ $round -gt 0 ] || read -t 100 -r header <&5
    for result in $(seq $4); do
        read -t 100 -r line <&5 || { echo "nothing in round $round"; exit 1; }
        echo "$line"
    done
done
exec 3>&-; cat <&5; wait $!)");
    for (const auto& [command, results] :
         {std::pair("stays", 2), {"meet", 1}, {"hangouts --final", 2}}) {
        const Outcome told = shell("bash " + talk + " " + scratch(".") + " $Q " + command + " " +
                                   std::to_string(results));
        EXPECT_EQ(told.code, 0) << told.err;
        EXPECT_EQ(lineCount(told.out), results * 4) << command << told.out << told.err;
    }
}

TEST(Program, PacksResultsAndReadsThemFromManyFiles) {
    const std::string fixes = shell("$Q synth --entities 4 --days 2").out;
    const std::string tracks = save("whole.csv", fixes);
    const std::string parts = scratch("parts");
    shell("mkdir " + parts + "; tail -n +2 " + tracks + " | split -l 2000 - " + parts +
          "/p; for p in " + parts + "/p*; do { head -n 1 " + tracks +
          "; cat $p; } | gzip >$p.csv.gz; "
          "rm $p; done");
    for (const std::string ending : {".csv", ".ndjson", ".geojson"}) {
        const std::string plain = scratch("packed") + ending;
        EXPECT_EQ(shell("$Q stays --out " + plain + ".gz " + parts).code, 0);
        EXPECT_EQ(shell("$Q stays --out " + plain + " " + tracks).code, 0);
        EXPECT_EQ(shell("zcat " + plain + ".gz").out, slurp(plain)) << ending;
        EXPECT_GT(lineCount(slurp(plain)), 8);
    }
    const Outcome some = shell("$Q boxes --out /dev/null --rejects - --time-column entity "
                               "--entity-column time_ms '" +
                               parts + "/*.gz'");
    EXPECT_TRUE(has(some.out, "file,line,reason,row\n" + parts + "/paa.csv.gz,2,"));
}

TEST(Program, NeedsTheModuleForTheFormatsOfGdalAlone) {
    std::filesystem::copy_file(QORVEL_PROGRAM, scratch("alone"));
    const std::string row = "'id,lat,lon,t\na,1,2,3\n'";
    const auto ask = [&](const std::string& options) {
        return shell("printf " + row + " | " + scratch("alone") + " boxes " + options);
    };
    EXPECT_EQ(ask("-").code, 0);
    for (const char* options : {"--out b.gpkg -", "x.gpx", "--out PG:dbname=x -"}) {
        const Outcome refused = ask(options);
        EXPECT_EQ(refused.code, 3) << options;
        EXPECT_TRUE(has(refused.err, "qorvel_gdal.so: cannot open shared object file"))
            << refused.err;
    }
}

TEST(Program, EndsWhenOutputCannotBeWritten) {
    const std::string tracks = save("tracks", shell("$Q synth --entities 5 --days 1").out);
    for (int round = 0; round < 12; ++round) { // whichever thread meets it
        EXPECT_EQ(shell("timeout 20 $Q boxes --threads 3 " + tracks, "/dev/full").code, 3);
    }
    const std::string rejects = scratch("half.csv");
    const std::string allBad = " --lat-column entity --entity-column lat " + tracks;
    EXPECT_EQ(shell("ulimit -f 64; $Q boxes --rejects " + rejects + allBad).code, 3);
    EXPECT_FALSE(std::filesystem::exists(rejects));
    const std::string out = scratch("o.csv");
    const struct {
        int code;
        std::string arguments;
        std::string words; // none: nothing is said
    } readerGone[] = {{141, tracks, ""},
                      {141, "--format ndjson " + tracks, ""},
                      {141, "--format geojson " + tracks, ""},
                      {3, "--out " + out + " --quiet --rejects -" + allBad, "Broken pipe"}};
    for (const auto& [code, arguments, words] : readerGone) {
        const Outcome left = shell("{ $Q boxes " + arguments + "; echo $? >&2; } | head -n 1");
        EXPECT_TRUE(left.err.ends_with(std::to_string(code) + '\n')) << arguments << left.err;
        EXPECT_TRUE(words.empty() ? lineCount(left.err) == 1 : has(left.err, words)) << left.err;
        EXPECT_EQ(lineCount(left.out), 1);
    }
    EXPECT_FALSE(std::filesystem::exists(out));
    // Neither what is told, where nobody hears it, nor what was written before is in its way.
    const std::string badEnd = "{ cat " + tracks + "; echo bad; } | $Q boxes --out " + out;
    EXPECT_EQ(shell(badEnd + " - 2>&-").code, 1);
    EXPECT_FALSE(has(slurp(out), "qorvel: "));
    EXPECT_EQ(shell("cat " + out + "; $Q boxes --out /dev/fd/1 " + tracks).out,
              slurp(out) + slurp(out));
    EXPECT_EQ(
        shell("ulimit -f 1000; $Q boxes --out " + out + ".csv --rejects " + rejects + ' ' + tracks)
            .code,
        3);
    EXPECT_GT(lineCount(shell("cat " + out + ".partial*").out), 1000);
    EXPECT_TRUE(std::filesystem::exists(rejects));
    EXPECT_EQ(run("boxes --out " + scratch("nothing.csv") + " -", kHeader + "\"").code, 3);
    EXPECT_EQ(lineCount(shell("ls " + scratch("nothing*")).out), 0) << "was read";
}

/// What results are about, in a text of CSV: their first seven columns.
std::multiset<std::string> keysOf(const std::string& csv) {
    std::multiset<std::string> keys;
    std::istringstream lines(csv);
    for (std::string line; std::getline(lines, line);) {
        std::size_t end = 0;
        for (int column = 0; column < 7; ++column) {
            end = line.find(',', end) + 1;
        }
        keys.insert(line.substr(0, end));
    }
    return keys;
}

/// Whether what no row can count is forgotten or not, from a file or a pipe: the same output. And
/// the last figures are those of the same entities, cells and boxes.
void expectSameWhateverIsCollected(const std::string& file) {
    for (const std::string mode : {"hangouts --space-factor 0.5 ", "presence "}) {
        const std::string kept = shell("$Q " + mode + "--late ever " + file).out;
        EXPECT_EQ(shell("$Q " + mode + file).out, kept) << mode;
        EXPECT_EQ(shell("dd status=none bs=997 <" + file + " | $Q " + mode + "-").out, kept);
        const std::string last = shell("$Q " + mode + "--final --late ever " + file).out;
        EXPECT_EQ(shell("$Q " + mode + "--final " + file).out, last) << mode;
        EXPECT_EQ(keysOf(last), keysOf(kept)) << mode;
        EXPECT_GT(lineCount(kept), has(mode, "presence") ? 20 : 0);
    }
}

TEST(Program, CompletesWhatIsTyped) {
    const struct {
        const char* typed;
        const char* offered;
    } rows[] = {
        {"s", "stays synth"},
        {"geohash ce", "centroid"},
        {"geohash encode --l", "--length"},
        {"synth --s", "--seed"},
        {"stays --format geo", "geojson geopackage"},
        {"explain --for p", "presence"},
        {"stays tr", ""}, // a file
    };
    for (const auto& [typed, offered] : rows) {
        const std::string told = shell("$Q --bash-completion >" + scratch("complete") +
                                       "; bash -c '. \"$0\"; COMP_WORDS=(qorvel $1); "
                                       "COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _qorvel; "
                                       "echo ${COMPREPLY[*]}' " +
                                       scratch("complete") + " '" + typed + "'")
                                     .out;
        EXPECT_EQ(told, offered + "\n"s) << typed;
    }
}

TEST(Program, CollectingChangesNoOutput) {
    const std::string middleLast = "awk 'NR > 4000 && NR < 9000 { last = last $0 RS; next } 1; "
                                   "END { printf \"%s\", last }'";
    // As it came, newest first, by entity, and with the middle of the day at the end.
    for (const std::string& order : {"cat"s, "tac"s, "sort"s, middleLast}) {
        const Outcome rows = shell("$Q synth --entities 10 --days 1 | tail -n +2 | " + order);
        expectSameWhateverIsCollected(save("tracks", kHeader + rows.out));
    }
}

TEST(Program, CollectingChangesNoOutputOfRealTracks) {
    const char* data = std::getenv("QORVEL_TEST_DATA");
    if (data == nullptr) {
        GTEST_SKIP() << "QORVEL_TEST_DATA is not set";
    }
    for (const std::string name : {"small_phone_source_order", "vessels_us_ais_source_order"}) {
        const std::string unpack = "zcat " + (data + ("/" + name)) + ".csv.gz | head -n 40000";
        ASSERT_EQ(shell(unpack, scratch("real")).code, 0);
        expectSameWhateverIsCollected(scratch("real"));
    }
}

TEST(Program, TakesLateRowsAsTheyComeAndCountsThem) {
    // Behind the newest by nothing, nothing, 6400 s, a day, a day and 1 ms.
    std::string rows = kHeader;
    for (const char* time : {"100000000", "100000000", "93600000", "13600000", "13599999"}) {
        rows += std::string("a,47,8,") + time + ",20\n";
    }
    const std::string all = "5 rows read, 5 processed, 0 rejected";
    const Outcome file = run("hangouts -", rows); // read twice: any order
    EXPECT_TRUE(has(file.err, all) && !has(file.err, "came later")) << file.err;
    EXPECT_TRUE(has(file.err, ": 3 rows are older than one of their entity")) << file.err;
    EXPECT_FALSE(has(run("meet -", rows).err, "older")); // the order is nothing to it
    for (const auto& [late, count] : {std::pair("", "1 row came later than --late allows"),
                                      {"--late '6399 seconds'", "3 rows came later"},
                                      {"--late '6400 seconds'", "2 rows came later"}}) {
        const Outcome piped =
            shell("cat " + scratch("in") + " | $Q presence " + std::string(late) + " -");
        EXPECT_EQ(piped.code, 0);
        EXPECT_TRUE(has(piped.err, all) && has(piped.err, count)) << piped.err;
    }
}

/// A day of a town in which every thirtieth row is hours late and every seventh has no accuracy,
/// and before it ten who stay from the same millisecond on.
std::string unorderedTown() {
    const std::string towns = "$Q synth --entities 25 --days 1 | awk 'NR % 7 == 0 { "
                              "sub(/,[^,]*$/, \",\") } NR == 1 || NR % 30 { print; next } { "
                              "late[NR + 6000] = $0 } NR in late { print late[NR] }'";
    std::string rows = kHeader;
    for (std::int64_t time = kStart; time < kStart + 20 * 60000; time += 60000) {
        for (const char entity : "zcxvbnmasd"s) {
            rows += entity + ",47,8,"s + std::to_string(time) + ",20\n";
        }
    }
    return save("town", rows + shell(towns + " | tail -n +2").out);
}

TEST(Program, OutputDoesNotDependOnThreads) {
    const std::string town = unorderedTown();
    const std::string bad = save("bad", slurp(town) + "x,y\n");
    for (const std::string command :
         {"boxes", "presence", "presence --final --late '1 hours'", "hangouts",
          "hangouts --late '2 hours'", "stays --late '3 hours'", "stays --format geojson",
          "meet --within 300 --late '1 hours'", "meet --format ndjson",
          "meet --pairs --format geojson", "meet --fixes-only"}) {
        const Outcome one = shell("$Q " + command + " --threads 1 " + town);
        EXPECT_EQ(one.code, 0) << one.err;
        EXPECT_GT(lineCount(one.out), 20) << command;
        EXPECT_EQ(shell("$Q " + command + " --threads 5 " + town).out, one.out) << command;
        // With a bad row the file is read again, where its rows were kept.
        EXPECT_EQ(shell("$Q " + command + " --threads 1 " + bad).out, one.out) << command;
        if (has(command, "late")) { // with which a pipe gives what a file does
            const std::string pipe = "cat " + town + " | $Q " + command + " --threads 2 -";
            EXPECT_EQ(shell(pipe).out, one.out) << command;
        }
    }
}

TEST(Program, SortsWhatIsInGreatDisorder) {
    const std::string town = unorderedTown();
    const std::string sorted = save("sorted", shell("sort -s -t, -k4,4n " + town).out);
    std::filesystem::create_directory(scratch("temporary"));
    const std::string bad = " --threads 2 --sort-beyond 0 --rejects " + scratch("bad") + " - <";
    for (const std::string command :
         {"stays --max-speed '9 km/h'", "places", "meet --within 300", "meet --pairs"}) {
        const std::string found = shell("$Q " + command + " " + sorted).out;
        EXPECT_GT(lineCount(found), 20) << command;
        const Outcome one = shell("(cat " + town + "; echo x,y) >" + scratch("x") +
                                  "; export TMPDIR=" + scratch("temporary") + "; $Q " + command +
                                  bad + scratch("x"));
        EXPECT_EQ(one.out, found) << command;
        EXPECT_TRUE(one.code == 1 && has(one.err, "1 rejected")) << one.err;
        const auto line = std::to_string(lineCount(slurp(town)) + 1);
        EXPECT_TRUE(has(slurp(scratch("bad")), line + ",2 fields where the header has 5,"))
            << slurp(scratch("bad"));
    }
    EXPECT_TRUE(std::filesystem::is_empty(scratch("temporary")));
    const Outcome full = shell("ulimit -f 99; $Q stays --sort-beyond 0 " + town);
    EXPECT_TRUE(full.code == 3 && has(full.err, "name another folder by TMPDIR")) << full.err;
}

TEST(Program, FindsTheSameStaysOfManyInTurnAsOfOneAfterTheOther) {
    const std::string many =
        save("many", shell("$Q synth --entities 300 --days 1 | awk 'NR % 9 == 1'").out);
    const std::string sorted =
        "{ head -n 1 " + many + "; tail -n +2 " + many + " | sort -s -t, -k1,1; } | $Q ";
    for (const std::string command : {"stays --late '3 hours'", "places --late '3 hours'"}) {
        const std::string found = shell("$Q " + command + " --threads 1 " + many + " | sort").out;
        EXPECT_GT(lineCount(found), 500) << command;
        EXPECT_EQ(shell(sorted + command + " - | sort").out, found) << command;
    }
}

// ---- State ----

/// Questions with the options of a state; what they find is in $OUT, what they leave in s.state.
const std::string kKept =
    " --state s.state --state-every '1 milliseconds' --rejects bad.csv --quiet ";
const struct Kept {
    std::string command;
    std::string out;
    std::string input;
    std::string before = ""; ///< files that are read before it
} kKeptRuns[] = {
    {"stays --late '3 hours'", "o.csv", "town.csv"},
    {"presence --max-speed '5 km/h'", "o.ndjson", "town.ndjson"},
    {"hangouts --final --late '10 hours' --format ndjson", "o.csv", "town.csv"},
    {"meet --within 300 --csv-safe", "o.csv", "town.ndjson"},
    {"boxes --entity c --entity person-0007", "o.csv", "town.csv"},
    {"hangouts --final --late '10 hours'", "o.csv", "town-3.csv", "town-1.csv town-2.ndjson "},
};

/// A folder with the town as CSV, as NDJSON and as three files without a line end behind their last
/// rows, with bad rows, all kinds of line ends, times in seconds and, from some row on, an
/// accuracy.
std::string keptFolder() {
    const std::string folder = scratch("kept");
    std::filesystem::create_directory(folder);
    std::ofstream csv(folder + "/town.csv");
    std::ofstream ndjson(folder + "/town.ndjson");
    std::istringstream town(slurp(unorderedTown()));
    std::string line;
    for (int row = 0; std::getline(town, line); ++row) {
        csv << line << (row % 3 == 0 ? "\r\n" : row % 3 == 1 ? "\r" : "\n\n");
        if (row > 0) {
            std::istringstream fields(line);
            std::string field[5];
            for (std::string& text : field) {
                std::getline(fields, text, ',');
            }
            ndjson << R"({"entity":")" << field[0] << R"(","lat":)" << field[1] << R"(,"lon":)"
                   << field[2] << R"(,"time":)" << field[3].insert(field[3].size() - 3, ".")
                   << (row < 9 ? "" : ",\"hdop\":2") << "}\n";
        }
        if (row % 997 == 500) {
            csv << "\"bad\nrow\"\n";
            ndjson << "{}\n";
        }
    }
    csv.close();
    ndjson.close();
    for (const std::string name : {"town-1.csv", "town-2.ndjson", "town-3.csv"}) {
        const std::string all = slurp(folder + "/town" + name.substr(6));
        const auto third = static_cast<std::size_t>(name[5] - '1');
        const std::size_t from = all.find('\n', all.size() / 3 * third);
        const std::size_t to = all.find('\n', all.size() / 3 * (third + 1));
        const std::string rows = all.substr(from, to - from);
        std::ofstream(folder + '/' + name) << (name[7] == 'c' ? all.substr(0, all.find('\n')) : "")
                                           << rows.substr(0, rows.find_last_not_of("\r\n") + 1);
    }
    return folder;
}

std::string keptCommand(const Kept& kept, const std::string& more = "") {
    return "$Q " + kept.command + kKept + "--out " + kept.out + ' ' + more + ' ' + kept.before +
           kept.input;
}

/// What the same run without a state gives, from what can be read only once.
std::string piped(const Kept& kept, const std::string& cd) {
    const std::string format = kept.input.substr(kept.input.find('.') + 1);
    return shell(cd + "cat " + kept.input + " | $Q " + kept.command + " --rejects r.csv --out p" +
                 kept.out + " --quiet " +
                 (kept.before.empty() ? "--input-format " + format + " -"
                                      : kept.before + kept.input) +
                 "; cat p" + kept.out + "; cat r.csv")
        .out;
}

/// QORVEL_KILLS says how many more.
TEST(Program, GoesOnFromWhereItWasKilled) {
    const char* const wanted = std::getenv("QORVEL_KILLS");
    const long most = wanted == nullptr ? 3 : (std::atol(wanted) - 1) / std::ssize(kKeptRuns) + 1;
    const std::string cd = "cd " + keptFolder() + "; ";
    std::mt19937 chance(17);
    long killed = 0;
    for (const Kept& kept : kKeptRuns) {
        const std::string clean = "rm -f s.state* o.* bad.csv";
        const std::string show = "cat " + kept.out + " bad.csv";
        const std::string whole = piped(kept, cd);
        EXPECT_GT(lineCount(whole), 20) << kept.command;
        EXPECT_EQ(shell(cd + clean + "; ulimit -f 8; " + keptCommand(kept)).code, 3); // 4 KiB
        for (long kills = 0, starts = 0; kills < most; ++starts) {
            ASSERT_LT(starts, 20 * most);
            const std::string threads = "--threads " + std::to_string(1 + chance() % 2);
            const Outcome outcome = shell(
                cd + "export ASAN_OPTIONS=\"$ASAN_OPTIONS:verify_asan_link_order=0\"; KILL_AT=" +
                std::to_string(1 + chance() % 60) + " LD_PRELOAD=" QORVEL_KILLER " " +
                keptCommand(kept, "--finish " + threads));
            const bool isKilled = outcome.code == 137;
            kills += isKilled ? 1 : 0;
            EXPECT_TRUE(isKilled || outcome.code == 1) << outcome.code << outcome.err;
            if (!isKilled || kills == most) {
                EXPECT_EQ(shell(cd + keptCommand(kept, "--finish")).code, 1);
                EXPECT_EQ(shell(cd + show).out, whole) << kept.command << " after " << kills;
                shell(cd + clean);
            }
        }
        killed += most;
    }
    EXPECT_GE(killed, 12);
}

TEST(Program, AddsToItsOutputAsTheInputGrows) {
    const std::string cd = "cd " + keptFolder() + "; ";
    std::mt19937 chance(18);
    for (Kept kept : kKeptRuns) {
        const std::string all = slurp(scratch("kept/") + kept.input);
        kept.input = "grown" + kept.input.substr(kept.input.find('.'));
        shell(cd + "rm -f s.state* o.* bad.csv");
        if (!kept.before.empty()) {
            shell(cd + keptCommand({kept.command, kept.out, "", kept.before}));
        }
        std::string before;
        for (std::size_t to = 500; to < all.size();
             to += all.size() / 6 + chance() % (all.size() / 6)) {
            std::ofstream(scratch("kept/") + kept.input) << all.substr(0, to);
            shell(cd + keptCommand(kept));
            const std::string found = slurp(scratch("kept/") + kept.out);
            EXPECT_TRUE(found.starts_with(before)) << kept.command;
            before = found;
            if (all[to - 1] == '}' || to % 3 > 0) { // a last line is whole then, or it is not
                continue;
            }
            std::ofstream(scratch("kept/") + kept.input) << all.substr(0, all.find("\n", to) + 1);
            shell(cd + keptCommand(kept, "--finish"));
            EXPECT_EQ(shell(cd + "cat " + kept.out + " bad.csv").out, piped(kept, cd));
        }
        std::ofstream(scratch("kept/") + kept.input) << all.substr(0, all.size() - 1);
        EXPECT_EQ(shell(cd + keptCommand(kept, "--finish")).code, 1);
        EXPECT_EQ(shell(cd + "cat " + kept.out + " bad.csv").out, piped(kept, cd));
    }
}

TEST(Program, RefusesAStateAndChangesNothing) {
    struct Row {
        int code;
        std::string words;
        std::string change; // after a run that left a state
        std::string arguments = "boxes --state s.state --out o.csv t.csv";
    };
    const std::string onAll = "boxes --state s.state --out o.csv t.csv u.csv v.csv";
    const std::string several = "rm s.state o.csv; $Q " + onAll;
    const Row rows[] = {
        {0, "3 rows read, 3 processed", ""},
        {2, "another --csv-safe", "", "boxes --csv-safe --state s.state --out o.csv t.csv"},
        {2, "another --bbox", "", "boxes --bbox 1,2,9,50 --state s.state --out o.csv t.csv"},
        {2, "another question", "", "presence --state s.state --out o.csv t.csv"},
        {3,
         "damaged: a check sum or a value in it is wrong; take an intact copy, or an older state. "
         "The one before it is kept: copy s.state.previous to s.state",
         "printf x | dd of=s.state bs=1 seek=200 conv=notrunc status=none"},
        {0, "3 rows read, 3 processed", "cp s.state.previous s.state"},
        {3, "cut short", "truncate -s -1 s.state"},
        {3, "no saved state", "echo tracks >s.state"},
        {2, "no file that a state", "rm s.state; mkdir s.state"},
        {3, "t.csv is shorter", "truncate -s -9 t.csv"},
        {3, "t.csv is another file", "sed -i s/47/46/ t.csv"},
        {3, "o.csv is shorter", "truncate -s -1 o.csv"},
        {3, "o.csv is another file", "sed -i s/a/b/ o.csv"},
        {2, "o.csv is there already, and there is no state", "rm s.state"},
        {3, "another run has it", "exec 9<>o.csv; flock 9"},
        {2, "cannot be rewound", "", "boxes --state s.state --out o.csv - <t.csv"},
        {2, "cannot be rewound", "gzip -k t.csv", "boxes --state s --out n.csv t.csv.gz"},
        {2, "t.geojson cannot be rewound", "$Q boxes --out t.geojson t.csv",
         "boxes --state s --out n.csv t.geojson"},
        {2, "u.csv.gz cannot be rewound", "gzip u.csv",
         "boxes --state s --out n.csv t.csv u.csv.gz"},
        {0, "9 rows read, 9 processed", several + "; echo entity,lat,lon,time >w.csv",
         onAll + " w.csv"},
        {0, "3 rows read, 3 processed", "echo entity,lat,lon,time >w.csv",
         "boxes --state s.state --out o.csv t.csv w.csv"},
        {2, "u.csv was number 2 of the files", several,
         "boxes --state s.state --out o.csv t.csv v.csv u.csv"},
        {2, "and now none is", several, "boxes --state s.state --out o.csv t.csv u.csv"},
        {2, "and now v.csv is", several + "; >u.csv", onAll},
        {3, "u.csv has grown", several + "; echo >>u.csv", onAll},
        {3, "u.csv is another file", several + "; sed -i s/47/46/ u.csv", onAll},
        {3, "v.csv is another file", several + "; sed -i s/47/46/ v.csv", onAll},
        {3, "cannot open u.csv", several + "; rm u.csv", onAll},
        {2, "another --rejects", "", "boxes --state s.state --rejects bad.csv --out o.csv t.csv"},
        {2, "bad.csv was begun for one file",
         "rm s.state o.csv; $Q boxes --rejects bad.csv --state s.state --out o.csv t.csv",
         onAll + " --rejects bad.csv"},
        {2, "NAME.csv or NAME.ndjson", "", "boxes --state s --out n.geojson t.csv"},
        {2, "NAME.csv or NAME.ndjson", "", "boxes --state s --out n.csv.gz t.csv"},
        {2, "NAME.csv or NAME.ndjson", "", "boxes --state s t.csv"},
        {3, "cannot write none/o.csv", "", "boxes --state s --out none/o.csv t.csv"},
        {3, "cannot write none/s", "", "boxes --state none/s --out n.csv t.csv"},
        {2, "--rejects NAME.csv", "", "boxes --state s --rejects - --out n.csv t.csv"},
        {2, "file of the tracks", "", "boxes --state t.csv --out n.csv t.csv"},
        {2, "file of the tracks", "cp t.csv s.new", "boxes --state s --out n.csv s.new"},
        {2, "file of the tracks", "cp t.csv s.previous; ln -s s l",
         "boxes --state l --out n.csv t.csv s.previous"},
        {2, "rows are written to", "", "boxes --state n.csv --out n.csv t.csv"},
        {2, "rows are written to", "", "boxes --state s --rejects s.new --out n.csv t.csv"},
        {2, "--finish requires --state", "", "boxes --finish t.csv"},
        {3, "no complete line yet", "printf entity >u.csv", "boxes --state s --out n.csv u.csv"},
        {3, "stopped at the first bad row",
         "echo bad >>t.csv; $Q boxes --strict --state s.state "
         "--out o.csv t.csv",
         "boxes --strict --state s.state --out o.csv t.csv"},
    };
    const std::string fresh =
        "cd " + scratch(".") + "; rm -rf kept; mkdir kept; cd kept; cp " + save("stay", stay(3)) +
        " t.csv; cp t.csv u.csv; cp t.csv v.csv; $Q boxes --state s.state --out o.csv t.csv; ";
    for (const auto& [code, words, change, arguments] : rows) {
        const Outcome outcome = shell(fresh + "{ " + (change.empty() ? ":" : change) +
                                      "; } 2>/dev/null; cp o.csv before; $Q " + arguments +
                                      "; code=$?; cmp o.csv before || code=99; exit $code");
        EXPECT_EQ(outcome.code, code) << words << outcome.err;
        EXPECT_TRUE(has(outcome.err, words)) << words << outcome.err;
    }
}

} // namespace
