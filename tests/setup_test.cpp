// From a configuration to the library: what is read, what is objected to, and what becomes of rows.
#include "engine/columns/Fault.h"
#include "engine/setup/Tables.h"
#include "engine/setup/TimeZone.h"
#include "engine/setup/detail/ZoneChanges.h"
#include "program/commands/checkCommand.h"
#include "program/commands/explainCommand.h"
#include "program/commands/geohashCommand.h"

#include "qorvel/base/calendar.h"
#include "qorvel/qorvel.h"

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <list>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <unistd.h>

namespace {

using namespace program;

/// A file that goes with its owner.
struct Scratch {
    const std::string name = testing::TempDir() + "qorvel-setup-" + std::to_string(getpid());
    explicit Scratch(const std::string& text) { std::ofstream(name, std::ios::binary) << text; }
    ~Scratch() { std::filesystem::remove(name); }
};

Config configOf(const std::string& text) {
    return readConfig(Scratch(text).name);
}

bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

const std::string kLeast = "[[master]]\n[[assignment]]\n[[hangout]]\n";

TEST(Setup, ReadsEveryValueIntoTheRecords) {
    const Config config = configOf(R"(
master = [{name = "one", cell_length = 7, box = "2 Days"}, {name = "other"}]
[[assignment]]
master = "one"
primary_key = "ship"
secondary_key = "cargo"
max_space_tolerance = 50
max_time_tolerance = 0
geohashes = ["u0q", "U0R"]
latitude = -47.5
longitude = 8.5
radius = 3e3
space_factor = 0.25
time_factor = 0.5
[[presence]]
master = "one"
primary_key = "ship"
secondary_key = "cargo"
window = "3 hours"
min_count = 4294967295
ratio = 0.125
[[presence]]
master = "other"
window = "59 minutes"
[[hangout]]
master = "other")");
    const Tables presence(config, ProcessorKind::presence);
    const STBMasterRow& master = presence.masters().front();
    EXPECT_EQ(std::tuple(master.stbSpec.geoHashBitDepth, master.stbSpec.getDurationMillis()),
              std::tuple(35U, 172800000U));
    const STBAssignmentRow& row = presence.assignments().front();
    const std::tuple ids(PrimaryKey::getPrimaryKeyInt("ship"),
                         SecondaryKey::getSecondaryKeyInt("cargo"), master.masterId);
    EXPECT_EQ(std::tuple(row.primaryKeyId, row.secondaryKeyId, row.masterId), ids);
    EXPECT_EQ(row.spaceBoxes, (std::list<SpaceBox>{SpaceBox("u0q"), SpaceBox("u0r")}));
    EXPECT_EQ(std::tuple(row.maxSpaceTolerance, row.maxTimeTolerance, row.latitude, row.longitude,
                         row.radius, row.spaceToleranceFactor, row.timeToleranceFactor),
              std::tuple(50.0, 0U, -47.5, 8.5, 3000.0, 0.25, 0.5));
    const STBCompressionSpec& spec = presence.specs().front();
    EXPECT_TRUE(std::tuple(spec.primaryKeyId, spec.secondaryKeyId, spec.masterId) == ids);
    EXPECT_EQ(std::tuple(spec.windowMillis, spec.minCount, spec.ratio),
              std::tuple(10800000U, 4294967295U, 0.125));
    EXPECT_EQ(presence.lookBack(), 10800000); // the longest window
    EXPECT_EQ(Tables(config, ProcessorKind::hangouts).lookBack(),
              3600000); // the box of the master used
    EXPECT_EQ(Tables(config, ProcessorKind::boxes).lookBack(), -1);
}

TEST(Setup, TakesEveryFixByDefault) {
    const MotionProcessor processor =
        makeProcessor(Tables(configOf(kLeast), ProcessorKind::hangouts));
    const std::int32_t any = PrimaryKey::getPrimaryKeyInt("ANY");
    const std::int32_t none = SecondaryKey::getSecondaryKeyInt("");
    for (const auto& [latitude, longitude] :
         {std::pair(-90.0, -180.0), {0.0, 0.0}, {89.9, 179.9}}) {
        std::list<SpaceTimeBox> boxes;
        processor.getSTB(Event(any, 0, none, latitude, longitude, 1e300, 0, 1), boxes);
        EXPECT_FALSE(boxes.empty()) << latitude << ' ' << longitude;
    }
}

/// What is said of a configuration, a line each.
std::string judgement(const std::string& text) {
    std::string said;
    try {
        const Config config = configOf(text);
        for (const ConfigFault& fault : checkConfig(config, ProcessorKind::hangouts)) {
            said += describe(fault, config.file) + '\n';
        }
    } catch (const Fault& fault) {
        said = fault.what() + std::string("\n");
    }
    return said;
}

/// Of each line, what its comment has is said, and nothing else.
void expectAsRemarked(const std::string& text) {
    const std::string said = judgement(text);
    std::istringstream lines(text);
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        const auto remark = line.find("# ");
        const std::string where = ", line " + std::to_string(number) + ": ";
        EXPECT_EQ(has(said, where), remark != std::string::npos) << where << line << '\n' << said;
        EXPECT_TRUE(remark == std::string::npos || has(said, where + line.substr(remark + 2)))
            << where << line << '\n'
            << said;
        EXPECT_EQ(said.find(where), said.rfind(where)) << said;
    }
}

TEST(Setup, TellsWhereAFaultIsAndWhatItIs) {
    expectAsRemarked(kLeast);
    expectAsRemarked("[[master]]\nbox =  # Error while parsing");
    expectAsRemarked("master = [{name = 'a'}, {name = 'b'}]\n[[assignment]] # needs a master");
    expectAsRemarked("master = [\n{name = 'a'}, \n{}] # one of several masters needs a name");
    expectAsRemarked(kLeast + R"(windw = '1 days'  # "windw" is not known; did you mean window?
window = 5        # window: want a text
min_count = -1    # min_count: want a whole number
ratio = '1'       # ratio: want a number
[[hangout]]
min_count = 1.0   # min_count: want a whole number from 0 to 4294967295
ratio = 1
[[hangout]]
min_count = 4294967296    # min_count: want a whole number from 0 to 4294967295
window = '5 minut'        # window: "5 minut": want a count and a unit
[[hangout]]
window = '0 hours'        # window: "0 hours": a count of 0
[[assignments]]           # "assignments" is not known; did you mean [[assignment]]?
[presence]                # want [[presence]]
[[assignment]]
geohashes = ['u0', 3]     # geohashes: want a text
[[assignment]]            # latitude, longitude and radius
radius = 1)");
    expectAsRemarked(R"(assignment = [{master = 'hour'}, {master = 'year'}, {master = 'wide'},
{master = 'x'}, # master "x": An assignment row names a master row that is not there
{master = 'hour', space_factor = 1.5}, # space_factor: The factor
{master = 'hour', time_factor = nan}, # space_factor and time_factor must be numbers
{master = 'hour', max_space_tolerance = nan}, # max_space_tolerance, latitude, longitude and
{master = 'hour', max_time_tolerance = 2}, # max_time_tolerance: The largest time tolerance can
{master = 'hour', geohashes = ['u0', 'ua']}, # geohash "ua": A geohash has a character that
{master = 'hour', geohashes = ["u\u0000a"]}, # a geohash holds a NUL
{master = 'hour', geohashes = ['']}, # warning: geohash "" is the whole world
{master = 'hour', geohashes = ['0123456789bc']},
{master = 'hour', geohashes = ['0123456789bcd']}, # warning: geohash "0123456789bcd": of 13 to 22
{master = '50', primary_key = 'bus'}, # warning: no [[presence]] or [[hangout]] looks at what it
{master = '49', primary_key = 'bus'}, {master = '1'}, {master = '2'}, {master = 'ever'},
{master = 'none'}] # warning: no [[presence]] or [[hangout]] looks at
master = [{name = 'hour', cell_length = 25},
{name = 'year', box = '1 years'}, # warning: box "1 years" counts as 17.3 days wherever
{name = '49', box = '4294967295 milliseconds', cell_length = 4},
{name = '50', box = '50 days'}, # warning: box "50 days" counts as 6.95 hours; lengths count in
{name = '1', box = '1 months'},
{name = '2', box = '2 months'}, # warning: box "2 months" counts as 10.3 days
{name = 'ever', box = 'ever', cell_length = 3}, # warning: cell_length 3 makes cells of 157 km x 157
{name = 'wide', cell_length = 858993460}, # cell_length must be 0 to 25 characters [ERROR_SPACEBOXS
{name = 'idle'}, # warning: no assignment uses the master "idle"
{name = 'hour'}, # a master "hour" is already defined on line 15
{name = 'none', box = '536870912 seconds'}] # box "536870912 seconds": lengths count in 32 bits, and
presence = [{master = 'hour'}, {master = '1'}, {master = '2'}, {master = 'wide'},
{master = 'ever', window = '50 days'}, # warning: window "50 days" counts as 6.95 hours
{master = '49', primary_key = 'bus'},
{master = '49', primary_key = 'ship'}] # warning: no assignment of its master takes fixes for it
hangout = [{master = 'hour', window = '3599999 milliseconds'},
{master = 'hour', window = '1 hours'}, # box must be longer than window, but "1 hours" counts as 1 ho
{master = 'year', window = '17 days'},
{master = 'year', window = '18 days'}, # box must be longer than window, but "1 years" counts as 17.
{master = 'hour', primary_key = 'ship'},
{master = 'hour', min_count = 0}, # min_count must be at least 1
{master = 'hour', min_count = 1},
{master = 'hour', ratio = 1.01}, # ratio: The ratio is not between 0 and 1. [ERROR_COMPRESSIONSPEC_1
{master = 'x'}, # master "x": A spec names
{master = 'hour', min_count = 1}] # warning: the same as on line 36
)");
    for (const std::string key : {"max_space_tolerance", "latitude", "longitude", "radius"}) {
        std::string text =
            "[[master]]\n[[hangout]]\n[[assignment]] # max_space_tolerance, latitude, ";
        for (const std::string other : {"max_space_tolerance", "latitude", "longitude", "radius"}) {
            text += '\n' + other + (other == key ? " = nan" : " = 1");
        }
        expectAsRemarked(text);
    }
    EXPECT_TRUE(has(judgement(""), ": there is no [[master]]"));
    EXPECT_TRUE(has(judgement("[[master]]"), ": there is no [[assignment]]"));
    EXPECT_TRUE(has(judgement("[[master]]\n[[assignment]]\n[[presence]]"), "no [[hangout]]"));
    EXPECT_TRUE(checkConfig(readConfig(QORVEL_EXAMPLES "/config.toml")).empty());
    EXPECT_THROW(readConfig("/"), Fault);
}

TEST(Setup, RefusesWhatNoConfigurationIs) {
    const char* const deep[] = {"a.b.c.d.e.f.g.h.i = ", "[[[[[[[[[[",
                                "{a={a={a={a={a={a={a={a={a=", "[{a.b=[[{c=[[{d=[[{"};
    const std::string shallow[] = {"",
                                   "# \"\"\"\n",
                                   "'[[[[[[[[[' = \"\\\"[[[[[[[[[\" # [[[[[[[[[\n",
                                   "x = \"\"\"\n\\\"\"\" [[[[[[[[[\"\"\"\"\"\ny = ''\n",
                                   "x = '''''a.b.c.d.e.f.g.h.i.j.k'''''\n\n",
                                   "a.b.c.d.e.f.g.h.i = [[[[[[[[1]]]]]]]]\n"};
    for (const std::string& text : shallow) {
        EXPECT_FALSE(has(judgement(text), "too deep")) << text;
        EXPECT_FALSE(has(judgement(text), "parsing")) << judgement(text);
        for (const char* piece : deep) {
            const auto line = std::count(text.begin(), text.end(), '\n') + 1;
            EXPECT_TRUE(has(judgement(text + "k." + piece),
                            ", line " + std::to_string(line) + ": brackets or dots nest too"))
                << text << piece;
        }
    }
    std::string many = "master = [{}]\nassignment = [";
    for (int i = 0; i < 1999; ++i) {
        many += "{},";
    }
    EXPECT_FALSE(has(judgement(many + ']'), "2000 entries"));
    EXPECT_TRUE(has(judgement(many + "{}]"), "line 1: there are more than 2000 entries"));
    const std::string longest(std::size_t{1} << 20, '\n');
    EXPECT_FALSE(has(judgement(longest), "longer than"));
    EXPECT_TRUE(has(judgement(longest + '\n'), ": is longer than 1 MiB"));
}

TEST(Setup, NamesOptionsWhereThereIsNoFile) {
    Config config{"", {{"default", 26, {1, "hour"}}}, {{}}, {{}}, {}};
    config.assignments[0].spaceFactor = config.presence[0].ratio = 2.0;
    config.assignments[0].maxTimeTolerance = 2;
    config.presence[0].minCount = 0;
    const std::string said = '\n' + describeErrors(checkConfig(config), "");
    for (const char* start :
         {"--cell-length must", "--box \"1 hour\":", "--space-factor:", "--time-tolerance:",
          "--ratio:", "--min-count must", "--box must be longer than --window"}) {
        EXPECT_TRUE(has(said, std::string("\n") + start)) << start << said;
    }
}

const std::string kHeader = "entity,lat,lon,time_ms,accuracy_m,primary_key,secondary_key\n";

InputOptions inputOf(const Scratch& data) {
    InputOptions input;
    input.file = data.name;
    return input;
}

std::string explained(const Config& config, ProcessorKind use, const std::string& rows,
                      std::uint64_t row, std::uint64_t line = 0) {
    const Scratch data(kHeader + rows);
    const std::uint32_t timeTolerance = use == ProcessorKind::boxes ? 1 : 0;
    const ExplainOptions options{config, use, inputOf(data), {30.0, timeTolerance}, row, line};
    return explain(options, *openFixSource(options.input));
}

TEST(Explain, TellsWhichTestFails) {
    const std::string place = "latitude = 47\nlongitude = 8.001\nradius = ";
    const struct {
        const char* test;
        std::string bad, good; // both sides of what is wanted
    } rows[] = {
        {"primary key", "primary_key = 'bus'", "primary_key = 'ship'"},
        {"secondary key", "secondary_key = 'Red'", "secondary_key = 'red'"},
        {"space tolerance", "max_space_tolerance = 19.9", "max_space_tolerance = 20"},
        {"time tolerance", "max_time_tolerance = 0", "max_time_tolerance = 1"},
        {"distance", place + "75.9", place + "76"},
        {"area", "geohashes = ['u0mk', 'u0mhx']", "geohashes = ['u', 'u0mk']"},
    };
    for (const auto& [test, bad, good] : rows) {
        for (const std::string& line : {bad, good}) {
            const std::string red = has(line, "sec") ? "\n" : "\nsecondary_key = 'red'\n";
            const std::string said =
                explained(configOf("[[master]]\n[[assignment]]" + red + line), ProcessorKind::boxes,
                          "a,47,8,1000,20,ship,red\n", 1);
            EXPECT_EQ(has(said, std::string("  FAILS   ") + test), line == bad) << said;
            EXPECT_EQ(said.find("  FAILS   "), said.rfind("  FAILS   ")) << said;
            EXPECT_EQ(has(said, "no result: no assignment takes it."), line == bad) << said;
            EXPECT_EQ(has(said, "  touches cell u0"), line == good) << said;
        }
    }
}

TEST(Explain, TellsHowFarAStayHasCome) {
    std::string rows = "b,47,8,0,20,,\n"; // others do not count, nor do bad rows
    for (int minute = 58; minute < 78; ++minute) {
        rows += minute == 60 ? "a,91,8,0,20,,\n" : "";
        rows += "a,47,8.001," + std::to_string(minute * 60000) + ",0,,\n";
    }
    rows += "a,90,8,4680000,0,,\na,47,8.001,4740000,0,,\n";
    const struct {
        std::uint64_t row;
        ProcessorKind use;
        const char* words;
    } wanted[] = {
        {4, ProcessorKind::hangouts, "So the row is rejected: lat is out of range"},
        {2, ProcessorKind::hangouts,
         "1 of 5 fixes, since 1970-01-01T00:58:00Z; 0 ms of 15 minutes"},
        {6, ProcessorKind::hangouts, "01:00:00Z: 2 fixes, ratio 0.4 of 1; not found yet"},
        {17, ProcessorKind::hangouts, "14 minutes of 15 minutes"},
        {17, ProcessorKind::hangouts, "no result: what it belongs to is not enough yet"},
        {18, ProcessorKind::hangouts, "02:00:00Z: 14 fixes, ratio 2.8 of 1; found by this row"},
        {19, ProcessorKind::hangouts, "; found before, by line 19"},
        {19, ProcessorKind::hangouts, "no result: what it belongs to was found before"},
        {23, ProcessorKind::hangouts, "no result: no cell holds it"},
        {24, ProcessorKind::hangouts, "1 of 5 fixes"}, // elsewhere in between
        {6, ProcessorKind::presence, "4 of 5 fixes"},
        {7, ProcessorKind::presence, "02:00:00Z: 3 fixes, ratio 0.6 of 0.5; found by this row"},
        {22, ProcessorKind::presence, "15 of 5 fixes"}, // within a quarter of an hour
        {22, ProcessorKind::presence, "15 fixes, ratio 1 of 0.5"},
        {7, ProcessorKind::boxes, "So the row gives 1 result."},
    };
    Config config = configOf(kLeast + "[[presence]]\nratio = 0.5");
    for (const auto& [row, use, words] : wanted) {
        const std::string said = explained(config, use, rows, row);
        EXPECT_TRUE(has(said, words)) << words << '\n' << said;
    }
    EXPECT_THROW(explained(config, ProcessorKind::boxes, rows, 25), Failure);
    EXPECT_TRUE(has(explained(config, ProcessorKind::boxes, "\n" + rows, 0, 2),
                    "row 1, line 3")); // line 2 is empty
    const std::string twice =
        explained(configOf(kLeast + "[[assignment]]"), ProcessorKind::hangouts, rows, 5);
    EXPECT_TRUE(has(twice, "6 of 5 fixes") && !has(twice, "5 of 5 fixes")) << twice;
    config.hangouts.resize(3);
    config.hangouts[1].window = {30, "minutes"};
    config.hangouts[2].primaryKey = "ship";
    EXPECT_TRUE(has(explained(config, ProcessorKind::hangouts, rows, 19),
                    "result: what it belongs to was"));
    config.presence[0].minCount = 2; // of three fixes two lie in the box before
    config.presence[0].ratio = 0.6;
    EXPECT_TRUE(
        has(explained(config, ProcessorKind::presence, rows, 5), "it belongs to was found before"));
    config.hangouts.erase(config.hangouts.begin(), config.hangouts.begin() + 2);
    EXPECT_TRUE(has(explained(config, ProcessorKind::hangouts, rows, 5), "nothing looks at what"));
}

TEST(Tracks, AreHeldAgainstTheConfiguration) {
    const Config config = configOf(R"(master = [{name = 'm'}, {name = 'n'}]
assignment = [{master = 'm'},
{master = 'n', secondary_key = 'x'}]
presence = [{master = 'm'},
{master = 'n'}]
hangout = [{master = 'm', window = '9 minutes'},
{master = 'm', primary_key = 'bus'}])");
    const Scratch data(kHeader + "a,47,8,0,,,\nb,47,8,10,,,\na,47,8,x,,,\na,47,8,600000,,ship,\n"
                                 "a,90,8,1200000,,,\nb,47,8,20,,,\nb,47,8,30,,,\n");
    const TrackFigures figures = checkTracks(config, {}, *openFixSource(inputOf(data)));
    EXPECT_EQ(std::tuple(figures.rows, figures.rejected, figures.untaken), std::tuple(7U, 1U, 1U));
    EXPECT_EQ(figures.medianGap, 600000); // of two short ones and two of this
    std::string said;
    for (const ConfigFault& warning : figures.warnings) {
        said += std::to_string(warning.line) + warning.sentence.substr(0, 24) + '\n';
    }
    EXPECT_EQ(said,
              "01 of 6 rows have no boxe\n3no row has the keys that\n5no row has keys that lea\n"
              "6window \"9 minutes\" is sh\n7no row has keys that lea\n");
}

using Task = GeohashOptions::Task;

std::string answer(Task task, const std::string& text) {
    return answerGeohash({task, 0.0, 0.0, 0, text});
}

TEST(Geohash, GoesThereAndBack) {
    for (std::uint32_t bits = 5; bits <= 60; bits += 5) {
        for (const double latitude : {-90.0, -47.3712, 0.0, 89.99}) {
            const std::string cell = answerGeohash({Task::encode, latitude, 179.9999999, bits, ""});
            const std::string name = cell.substr(0, bits / 5);
            EXPECT_EQ(cell, name + '\n');
            const std::string centre = answer(Task::centroid, name);
            const auto comma = centre.find(',');
            EXPECT_EQ(answerGeohash({Task::encode, std::stod(centre),
                                     std::stod(centre.substr(comma + 1)), bits, ""}),
                      cell);
            std::string around = answer(Task::neighbours, name);
            EXPECT_TRUE(
                has(around, ',' + answerGeohash({Task::encode, latitude, -180.0, bits, ""})));
            for (std::istringstream fields(around); std::getline(fields, around, ',');) {
                const std::string other = around.substr(around.find('\n') + 1);
                EXPECT_TRUE(other.empty() || has(answer(Task::neighbours, other), name)) << name;
            }
        }
    }
    EXPECT_EQ(answer(Task::neighbours, "z"), ",,\ny,z,b\nw,x,8\n"); // at the pole and at 180
    EXPECT_TRUE(has(answer(Task::decode, "ezs42"),
                    "\nezs42,25,42.60498046875,-5.60302734375,42.5830078125,-5.625,"));
    for (const char* bad : {"abc", "0123456789bcd", "zzzzzzzzzzzzzzzzzzzzzzzzzz"}) {
        EXPECT_THROW(answer(Task::decode, bad), Failure) << bad;
    }
    EXPECT_THROW(answerGeohash({Task::encode, 90.0, 0.0, 30, ""}), Failure);
    EXPECT_THROW(answerGeohash({Task::encode, 0.0, 0.0, 129, ""}), Failure);
}

TEST(Setup, ReadsLengthsAsPeopleWriteThem) {
    const std::pair<const char*, const char*> rows[] = {{"15 minutes", "15 minutes"},
                                                        {"15min", "15 minutes"},
                                                        {"15 Min", "15 minutes"},
                                                        {"1 hour", "1 hours"},
                                                        {"1h", "1 hours"},
                                                        {"250 ms", "250 milliseconds"},
                                                        {"2 weeks", "14 days"},
                                                        {"1 month", "1 months"},
                                                        {"ever", "1 ever"},
                                                        {"PT15M", "15 minutes"},
                                                        {"P1D", "1 days"},
                                                        {"P2W", "14 days"},
                                                        {"PT1H30M", "90 minutes"},
                                                        {"P1DT1S", "86401 seconds"},
                                                        {"P3M", "3 months"},
                                                        {"P1Y", "1 years"}};
    for (const auto& [text, span] : rows) {
        EXPECT_EQ(readSpan(text).text(), span) << text;
    }
    for (const char* bad : {"15",
                            "15 ",
                            "5m",
                            "P",
                            "PT",
                            "P1DT",
                            "P0D",
                            "P1M1D",
                            "PT1D",
                            "P1H",
                            "PT1M1H",
                            "PT1.5H",
                            "P1D1D",
                            "P-1D",
                            "p1d",
                            "P9999999999D",
                            "P4294967295W",
                            "613566757 weeks",
                            "hours",
                            "0 hours",
                            ""}) {
        EXPECT_THROW(readSpan(bad), std::invalid_argument) << bad;
    }
}

/// As the C library has it, which reads the same database.
std::int64_t offsetOfLibrary(std::int64_t utc) {
    const std::time_t seconds = qorvel_detail::floorDivide(utc, 1000).quotient;
    std::tm clock{};
    localtime_r(&seconds, &clock);
    return std::int64_t{clock.tm_gmtoff} * 1000;
}

TEST(TimeZones, AreTheLibrarysAndGoThereAndBack) {
    constexpr std::int64_t kHour = 3'600'000;
    if (!std::filesystem::exists("/usr/share/zoneinfo/Europe/Berlin")) {
        GTEST_SKIP() << "this machine has no time zones";
    }
    std::mt19937_64 random(7);
    for (const char* name :
         {"Europe/Berlin", "America/New_York", "Australia/Lord_Howe", "Africa/Casablanca",
          "Asia/Kathmandu", "America/Nuuk", "Pacific/Apia", "Europe/Dublin", "Etc/GMT-14"}) {
        setenv("TZ", name, 1);
        tzset();
        const TimeZone zone(name);
        for (int i = 0; i < 3000; ++i) {
            const auto any = std::int64_t(random() % 5'000'000) * kHour / 10 - 500'000 * kHour / 10;
            const std::int64_t next = zone.nextChange(any); // one of its edges half of the time
            const std::int64_t utc = i % 2 == 0 ? any : next - std::int64_t(random() % 2);
            if (utc >= 4'102'444'800'000 * 3) {
                continue; // beyond the year 2359
            }
            ASSERT_EQ(zone.offsetAt(utc), offsetOfLibrary(utc)) << name << ' ' << utc;
            ASSERT_GT(next, any);
            const std::int64_t back = zone.toUtc(zone.toLocal(utc));
            ASSERT_TRUE(back <= utc && back > utc - 25 * kHour) << name << ' ' << utc;
            ASSERT_EQ(zone.toLocal(back), zone.toLocal(utc)) << name << ' ' << utc;
        }
    }
    const TimeZone berlin("Europe/Berlin");
    EXPECT_EQ(berlin.toUtc(1'711'852'200'000), 1'711'848'600'000); // 02:30 that never was: +01:00
    EXPECT_EQ(berlin.toUtc(1'729'996'200'000), 1'729'989'000'000); // 02:30 that was twice: +02:00
    for (const std::int64_t end : {INT64_MIN, INT64_MAX}) {
        EXPECT_EQ(TimeZone(end < 0 ? "-24:00" : "+24:00").toLocal(end), end);
        EXPECT_EQ(TimeZone(end < 0 ? "+24:00" : "-24:00").toUtc(end), end);
    }
    EXPECT_EQ(TimeZone("-05:30").offsetAt(0), -11 * kHour / 2);
    for (const char* bad : {"", "Mars/Base", "Europe", "../../etc/passwd", "/etc/passwd", "+5:00",
                            "+02:60", "+25:00", "tzdata.zi", "zone.tab", "leapseconds"}) {
        EXPECT_THROW(TimeZone{bad}, Fault) << bad;
    }
}

/// With rules that few zones have, and lies.
TEST(TimeZones, FollowTheRuleOfAFile) {
    struct Row {
        const char* rule;
        std::int64_t time; ///< s since 1970 UTC
        std::int64_t offset;
    };
    for (const Row& row : {Row{"<+03>-3", 0, 10800},
                           {"CET-1CEST,M3.5.0,M10.5.0/3", 1616893199, 3600}, // 28 March 2021
                           {"CET-1CEST,M3.5.0,M10.5.0/3", 1616893200, 7200},
                           {"CET-1CEST,M3.5.0,M10.5.0/3", 1635641999, 7200}, // 31 October
                           {"CET-1CEST,M3.5.0,M10.5.0/3", 1635642000, 3600},
                           {"EST5EDT,J60/0,J300/0", 1709251199, -18000},
                           {"EST5EDT,J60/0,J300/0", 1709269200, -14400}, // 1 March, a leap year
                           {"EST5EDT,59/0,300/0", 1709182800, -14400},   // 29 February
                           {"XXX3<-02>3,0/0,J365/23", 1720000000, -10800},
                           {"CET-1CEST,M3.5.0", 1720000000, 7},
                           {"CET-1CEST", 1720000000, 7},
                           {"CET-1CEST,M3.5.0,M13.5.0", 1720000000, 7},
                           {"CE1T-1", 0, 7},
                           {"CET-999999999999999999999", 0, 7},
                           {"<CET", 0, 7},
                           {"", 0, 7}}) {
        std::string file = "TZif2" + std::string(39, '\0') + "TZif2" + std::string(39, '\0');
        file[44 + 39] = 1; // a type
        file += std::string("\0\0\0\7\0\0\n", 7) + row.rule + '\n';
        const auto changes = detail::readZoneFile(file);
        ASSERT_NE(changes, nullptr) << row.rule;
        const std::size_t count = changes->countUpTo(row.time * 1000);
        if (row.time > 0 || count > 0) {
            EXPECT_EQ(count == 0 ? 7000 : changes->offsets[count - 1], row.offset * 1000)
                << row.rule;
        }
        for (std::size_t size = 0; size < 94; ++size) {
            EXPECT_EQ(detail::readZoneFile(file.substr(0, size)), nullptr) << size;
        }
    }
    // Two changes, to one type.
    std::string file = "TZif2" + std::string(39, '\0') + "TZif2" + std::string(39, '\0');
    file[44 + 35] = 2;
    file[44 + 39] = 1;
    file += std::string("\0\0\0\0\0\0\0\1"
                        "\0\0\0\0\0\0\0\2"
                        "\0\0"
                        "\0\0\0\7\0\0",
                        24) +
            "\nUTC0\n";
    struct Lie {
        std::size_t at;
        char byte;
        bool isRefused = true;
    };
    for (const Lie& lie : {Lie{44 + 31, 1}, // leap seconds
                           {44 + 39, 0},    // of no type
                           {88 + 7, 9},     // out of order
                           {88 + 16, 1},    // to a type that is not there
                           {88 + 18, 0x7F}, // 68 years off
                           {88 + 24, 'x', false},
                           {88 + 29, 'x', false}}) {
        std::string wrong = file;
        wrong[lie.at] = lie.byte;
        EXPECT_EQ(detail::readZoneFile(wrong) == nullptr, lie.isRefused) << lie.at;
    }
    EXPECT_NE(detail::readZoneFile(file), nullptr);
}

} // namespace
