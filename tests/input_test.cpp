// The program's input: every format, time, header and kind of damage.
#include "program/Failure.h"
#include "program/input/CsvReader.h"
#include "program/input/FixFilter.h"
#include "program/input/FixSource.h"
#include "program/input/KeptFixes.h"
#include "program/input/LineBuffer.h"
#include "program/input/PlainObject.h"
#include "program/input/number.h"
#include "program/isoTime.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gdal_utils.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <optional>
#include <random>
#include <simdjson.h>
#include <sqlite3.h>
#include <string>
#include <sys/socket.h>
#include <tuple>
#include <unistd.h>
#include <vector>
#include <zlib.h>

namespace {

using namespace program;
using qorvel_engine::TimeZone;
using namespace std::string_literals;

/// A file in a folder that goes when the test ends.
std::string scratch(const std::string& name) {
    static const struct Folder {
        const std::string path = testing::TempDir() + "qorvel-input-" + std::to_string(getpid());
        Folder() { std::filesystem::create_directory(path); }
        ~Folder() { std::filesystem::remove_all(path); }
    } folder;
    return folder.path + '/' + name;
}

std::string save(const std::string& name, const std::string& bytes) {
    std::filesystem::remove(scratch(name)); // to overwrite a file waits for the disk
    std::ofstream(scratch(name), std::ios::binary) << bytes;
    return scratch(name);
}

std::string bytesOf(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

/// One member of gzip.
std::string packed(const std::string& bytes) {
    gzFile file = gzopen(scratch("packed").c_str(), "wb");
    gzwrite(file, bytes.data(), static_cast<unsigned>(bytes.size()));
    gzclose(file);
    return bytesOf(scratch("packed"));
}

/// The name of a pipe that holds the bytes.
std::string piped(const std::string& bytes) {
    int ends[2] = {};
    EXPECT_EQ(pipe(ends), 0);
    EXPECT_EQ(write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    close(ends[1]);
    return "/dev/fd/" + std::to_string(ends[0]);
}

/// What a GDAL driver makes of a file.
std::string translated(const std::string& from, const std::string& name,
                       std::vector<std::string> arguments) {
    std::vector<char*> words;
    for (std::string& argument : arguments) {
        words.push_back(argument.data());
    }
    words.push_back(nullptr);
    GDALAllRegister();
    GDALVectorTranslateOptions* options = GDALVectorTranslateOptionsNew(words.data(), nullptr);
    GDALDatasetH source = GDALOpenEx(from.c_str(), GDAL_OF_VECTOR, nullptr, nullptr, nullptr);
    GDALClose(GDALVectorTranslate(scratch(name).c_str(), nullptr, 1, &source, options, nullptr));
    GDALClose(source);
    GDALVectorTranslateOptionsFree(options);
    return scratch(name);
}

std::string textOf(const Fix& fix) {
    char text[200];
    std::snprintf(text, sizeof text, " %.9f %.9f %lld %g ", fix.latitude, fix.longitude,
                  static_cast<long long>(fix.time), fix.accuracyM.value_or(-1.0));
    return fix.entity + text + fix.primaryKey + '/' + fix.secondaryKey;
}

/// All that a source says, a text each: its fixes, its faults, its remarks, and what ended it.
struct Said {
    std::vector<std::string> rows;
    std::vector<std::string> verbatim;
    std::string remarks;
    std::string end;

    /// The row of that number, or what ended the input before it.
    std::string row(std::size_t i) const { return i < rows.size() ? rows[i] : end; }
};

Said said(FixSource& source) {
    Said all;
    try {
        Fix fix;
        while (source.next()) {
            const std::optional<std::int64_t> time = source.readTime();
            const std::string fault = source.read(fix);
            EXPECT_TRUE(!fault.empty() || time == fix.time);
            all.rows.push_back(fault.empty() ? textOf(fix) : fault);
            all.verbatim.push_back(source.verbatim());
        }
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.code(), ExitCode::broken);
        all.end = failure.what();
    }
    for (const std::string& remark : source.assumed().remarks()) {
        all.remarks += remark + '.';
    }
    return all;
}

Said said(const InputOptions& options) {
    try {
        const auto source = openFixSource(options);
        const Said all = said(*source);
        EXPECT_LE(source->shareRead().value_or(1.0), 1.0);
        if (source->isRepeatable()) {
            source->rewind();
            const Said again = said(*source);
            EXPECT_EQ(again.rows, all.rows) << options.file;
            EXPECT_EQ(again.end + again.remarks, all.end + all.remarks) << options.file;
        }
        return all;
    } catch (const Failure& failure) {
        return {{}, {}, {}, failure.what()};
    }
}

Said said(const std::string& file) {
    InputOptions options;
    options.file = file;
    return said(options);
}

Said said(const std::string& name, const std::string& bytes) {
    return said(save(name, bytes));
}

bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

/// The fields of each row, and where it stands.
std::vector<std::vector<std::string>> rowsOf(const std::string& bytes) {
    ByteSource source(save("rows.csv", bytes));
    CsvReader reader(source, std::nullopt);
    std::vector<std::vector<std::string>> rows;
    while (reader.next()) {
        rows.push_back({std::to_string(reader.line()), std::to_string(reader.lineBehind())});
        for (std::size_t i = 0; i < reader.fieldCount(); ++i) {
            rows.back().emplace_back(reader.field(i));
        }
    }
    return rows;
}

// Those without a quote are split by other code than those with one.
TEST(Input, SplitsRowsWithAndWithoutQuotesAlike) {
    std::mt19937 random(7);
    const std::string letters = "ab,, \t;\xC3\0"s;
    for (int round = 0; round < 20; ++round) {
        std::string plain = ",x,,,,,\n"; // by which the comma is told
        std::string quoted = plain;
        for (int row = 0; row < 60; ++row) {
            std::string text(random() % (round % 4 == 0 ? 9000 : 40), ' ');
            std::generate(text.begin(), text.end(),
                          [&] { return letters[random() % letters.size()]; });
            const char* const end = std::array{"\n", "\r\n", "\r"}[random() % 3];
            plain += text + ",x" + end;
            quoted += random() % 5 == 0 ? text + ",x" + end : text + ",\"x\"" + end;
            if (random() % 4 == 0) {
                plain += text.substr(0, text.find_first_not_of(" \t")) + end;
                quoted += text.substr(0, text.find_first_not_of(" \t")) + end;
            }
        }
        EXPECT_EQ(rowsOf(plain), rowsOf(quoted)) << round;
    }
}

template <typename Number>
void expectReadAsEver(const std::string& text) {
    Number value{7};
    Number wanted{7};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, wanted);
    EXPECT_EQ(readNumber(text, value), error == std::errc() && stop == end) << text;
    EXPECT_EQ(std::memcmp(&value, &wanted, sizeof value), 0) << text;
}

// To the last bit, and with the sign of a zero.
TEST(Input, ReadsShortNumbersAsTheStandardLibraryDoes) {
    std::vector<std::string> texts = {
        "",   "-",  ".",  "-.",  "5.",   "-5.",  ".5",   "-0", "-0.0", "1e5",  "inf", "nan", "0x1",
        "1 ", " 1", "+1", "--1", "1..2", "1.2.", "00.1", "-1", "1:2",  "1/2.", "1,2", "0.-1"};
    for (const char* digits : {"9007199254740992", "9007199254740993", "18014398509481985",
                               "999999999999999999", "1234567890123456789", "000000000000000001"}) {
        for (std::size_t point = 0; point <= 19; ++point) {
            texts.push_back(digits);
            texts.back().insert(std::min(point, texts.back().size()), ".");
        }
        texts.emplace_back(digits);
    }
    std::mt19937_64 random(11);
    for (int i = 0; i < 20000; ++i) {
        char text[40];
        std::snprintf(text, sizeof text, "%.*f", static_cast<int>(random() % 17),
                      static_cast<double>(random() % 360000000) / 1e6 - 180.0);
        texts.emplace_back(text);
    }
    for (const std::string& text : texts) {
        expectReadAsEver<double>(text);
        expectReadAsEver<std::int64_t>(text);
    }
}

TEST(Input, IsTheSameInEveryFormat) {
    const std::vector<std::string> fixes = {"Anna 47.371200001 8.540100000 1355831880251 10 /",
                                            "Bo -33.500000000 -70.250000000 1355831940000 -1 /"};
    const std::string csv = "time,Lat,entity,LON,accuracy_m\r\n1355831880251,47.371200001,Anna,"
                            "8.5401,10\r\n\r\n 1355831940000 ,-33.5,\"Bo\",-70.25,\r\n";
    std::string tsv = csv;
    std::replace(tsv.begin(), tsv.end(), ',', '\t');
    std::string semicolons = csv;
    std::replace(semicolons.begin(), semicolons.end(), ',', ';');
    const std::string points =
        "t|user|wkt|acc\n 1355831880.251 |Anna|POINT Z(+8.5401 47.371200001 "
        "9)|\" +10 \"\n2012/12/18 11:59|Bo|srid=4326;Point( -70.25 -33.5 )|\n";
    const std::string lines =
        R"({"t":1355831880251000,"point":{"coordinates":[8.5401,47.371200001],"type":"Point"},)"
        R"("uid":"Anna","acc":10})"
        "\n"
        R"j({"t":1355831940000000,"uid":"Bo","point":"POINT(-70.25 -33.5)"})j"
        "\n";
    std::string macLineEnds = csv;
    macLineEnds.erase(std::remove(macLineEnds.begin(), macLineEnds.end(), '\n'), macLineEnds.end());
    const std::string geoJson = save(
        "a.geojson",
        R"({"type":"FeatureCollection","features":[{"type":"Feature","properties":{"user":"Anna",
        "timestamp":"2012-12-18T12:58:00.251+01:00","hdop":2},"geometry":{"type":"Point",
        "coordinates":[8.5401,47.371200001]}},{"type":"Feature","properties":{"user":"Bo",
        "timestamp":"2012-12-18T06:29:00-05:30"},"geometry":{"type":"Point","coordinates":[-70.25,-33.5]
        }}]})");
    const std::string files[] = {
        save("a.csv", csv),
        save("a", csv),
        save("A.TXT", "\xEF\xBB\xBF" + csv),
        save("mac.csv", macLineEnds),
        save("unended.csv", csv.substr(0, csv.size() - 2)),
        save("a.tsv", tsv),
        save("a.tsv.gz", packed(tsv)),
        save("members.csv.gz", packed(csv.substr(0, 50)) + packed("") + packed(csv.substr(50)) +
                                   std::string(512, '\0')),
        piped(csv),
        piped(semicolons),
        piped(lines),
        piped(packed("\xEF\xBB\xBF\n" + lines)),
        save("tabs.csv", tsv),
        save("points.txt", points),
        save("lines.txt", lines),
        piped(packed("\xEF\xBB\xBF" + csv)),
        save("a.ndjson",
             R"({"t":1355831880.251,"lat":47.371200001,"user":"\u0041nna","lng":"8.5401",)"
             R"("more":{"lat":1},"accuracy":10})"
             "\n\n"
             R"({"user":"Bo","t":"1355831940","lat":-33.5,"accuracy":null,"lng":-70.25})"),
        save("a.jsonl.gz", packed("{\"user\":\"Anna\",\"ts\":1355831880251,\"lat\":47.371200001,"
                                  "\"lng\":8.5401,\"hdop\":2}\r\n{\"user\":\"Bo\",\"ts\":"
                                  "\"2012-12-18 11:59\",\"lat\":-33.5,\"lng\":-7.025e1}\r\n")),
        geoJson,
        translated(geoJson, "a.gpkg", {}),
        translated(geoJson, "a.geojsonl", {"-f", "GeoJSONSeq", "-lco", "COORDINATE_PRECISION=9"}),
        translated(geoJson, "a.fgb", {"-f", "FlatGeobuf", "-lco", "SPATIAL_INDEX=NO"}),
        save("b.fgb.gz", packed(bytesOf(scratch("a.fgb")))),
        translated(geoJson, "mercator.gpkg", {"-t_srs", "EPSG:3857"}),
        save("a.gpx", R"(<gpx version="1.1" creator="x"><wpt lat="1" lon="2"/>
<trk><name>Anna</name><trkseg><trkpt lat="47.371200001" lon="8.5401">
<time>2012-12-18T11:58:00.251Z</time><hdop>2</hdop></trkpt></trkseg></trk>
<trk><name>Bo</name><trkseg><trkpt lat="-33.5" lon="-70.25"><time>2012-12-18T11:59:00Z</time>
</trkpt></trkseg></trk></gpx>)"),
    };
    for (const std::string& file : files) {
        const Said all = said(file);
        EXPECT_EQ(all.rows, fixes) << file;
        EXPECT_EQ(all.end, "") << file;
    }
}

TEST(Input, ReadsTimes) {
    const std::string noWhole = "no whole number of 64 bits";
    const std::string noIso = "no ISO 8601 time";
    const std::string asUtc = "1 time has no offset and was read as UTC";
    const std::string asSeconds = "1 time is a plain number and was read as seconds";
    const struct {
        std::string column;
        std::int64_t time; // -1: a fault
        std::string words; // of the fault, or of the remark
        std::vector<std::string> texts;
    } rows[] = {
        {"time", 0, asSeconds, {"0", "0.0009", "-0"}},
        {"time", 99999999999000, asSeconds, {"99999999999"}},
        {"time", 100000000000, "", {"100000000000", "100000000000.9"}},
        {"time_ms", 99999999999, "", {"99999999999"}},
        {"time", 99999999999999, "", {"99999999999999", "99999999999999.9", " +99999999999999 "}},
        {"time_ms", -1, "beyond the year 5138; say with --time-unit", {"100000000000000"}},
        {"time", 100000000000, "read as microseconds", {"100000000000000", "100000000000000.9"}},
        {"time", 99999999999999, "read as microseconds", {"99999999999999999"}},
        {"time", 100000000000, "read as nanoseconds", {"100000000000000000"}},
        {"time", 9223372036854, "read as nanoseconds", {"9223372036854775807"}},
        {"time_us", 1355831880250, "", {"1355831880250000"}},
        {"timestampNs", 1355831880250, "", {"1355831880250000000"}},
        {"timeMs", 1, "", {"1", "+1"}},
        {"time", 1355831880250, asSeconds, {"1355831880.25", "1355831880.2509"}},
        {"time", -1, noWhole, {"9223372036854775808", "1.5e3", "1 3", "1.x", "--1"}},
        {"time", -1, "is negative", {"-1", "-0.5"}},
        {"time",
         -1,
         "neither a number nor an ISO 8601 time",
         {"soon", "nan", ".5", "++1", "a000-1"}},
        {"time", -1, "time is missing", {"", " "}},
        {"time", 0, "", {"1970-01-01T00:00:00Z", "1970-01-01T01:00+01"}},
        {"time", -1, "before 1970", {"1969-12-31T23:59:59.999Z", "1970-01-01T00:59+01:00"}},
        {"time", -1, "before 1970", {"0000-01-01T00:00:00Z"}},
        {"time_ms", 1355831880000, "", {"2012-12-18T11:58:00Z", "2012-12-18t11:58z"}},
        {"t", 1355831880000, "", {"2012-12-18 12:58:00 +0100", "2012-12-18 06:28-05:30"}},
        {"t", 1355831880000, "", {"2012-12-18 10:58-01", "2012-12-18 11:58:00 UTC"}},
        {"t", 1355831880000, asUtc, {"2012-12-18 11:58", "2012-12-18T11:58:00.000999999"}},
        {"t", 1355788800000, asUtc, {"2012-12-18", "2012/12/18", "2012/12/18 00:00"}},
        {"t", -1, noIso, {"2012/12-18", "2012-12/18", "2012/1/18"}},
        {"t", -1, noIso, {"2012-12-18T11:58:00.1234567891", "2012-12-18T11:58:00.Z"}},
        {"t", -1, noIso, {"2012-12-18T", "2012-12-18Z", "2012-12-18x11:58", "2012-12-18T11Z"}},
        {"t", -1, noIso, {"2012-12-18T11:58+24:00", "2012-12-18T11:58+01:60", "2012-1-18"}},
        {"t", -1, noIso, {"2012-12-18T11:58+1", "2012-12-18T11:58Z.", "2012-12-1", "2012-12"}},
        {"t", -1, noIso, {"2012-12-18T11:5", "2012-12-18T11:58:1", "2012-12-18T11:58+01:3"}},
        {"t", 1330473600000, asUtc, {"2012-02-29"}},
        {"t", 951782400000, asUtc, {"2000-02-29"}},
        {"t", -1, "calendar", {"2011-02-29", "2100-02-29", "2012-04-31", "2012-01-32"}},
        {"t", -1, "calendar", {"2012-00-01", "2012-13-01", "2012-01-00"}},
        {"t", 1325462399000, "", {"2012-01-01T23:59:59Z"}},
        {"t", -1, "hour beyond 23", {"2012-01-01T24:00:00Z"}},
        {"t", -1, "minute beyond 59", {"2012-01-01T23:60:00Z"}},
        {"t", -1, "second beyond 59", {"2012-06-30T23:59:60Z"}},
    };
    for (const auto& [column, time, words, texts] : rows) {
        for (const std::string& text : texts) {
            const Said all =
                said("t.csv", "entity,lat,lon," + column + "\na,1,2,\"" + text + "\"\n");
            const std::string good = ' ' + std::to_string(time) + " -1 /";
            EXPECT_TRUE(has(all.row(0), time < 0 ? words : good)) << text << ": " << all.row(0);
            EXPECT_TRUE(time < 0 || has(all.remarks, words)) << text << ": " << all.remarks;
            EXPECT_EQ(time < 0 || words.empty(), all.remarks.empty()) << text;
        }
    }
    // The first number decides, though its row is bad, and although a later one looks otherwise.
    const Said all = said("t.csv", "id,y,x,t\na,1,2,2012-12-18\n,1,2,7\na,1,2,200000000000\n"
                                   "a,1,2,9223372036854775\n");
    EXPECT_TRUE(has(all.row(2), "t is beyond the year 5138")) << all.row(2);
    EXPECT_TRUE(has(all.row(3), "t is out of range")) << all.row(3);
    const Said coarse = said("t.csv", "id,y,x,t\na,1,2,1355831880250000\na,1,2,1355831880250\n");
    EXPECT_TRUE(has(coarse.row(1), "before March 1973 in the unit of the first")) << coarse.row(1);
    const Said mixed = said("t.csv", "id,y,x,t\na,1,2,1355831880250\na,1,2,1355831880\n");
    EXPECT_TRUE(has(mixed.row(1), "before March 1973 in the unit of the first")) << mixed.row(1);
    InputOptions summer;
    summer.file = save("t.csv", "id,y,x,t\na,1,2,2012-07-18 12:00\na,1,2,2012-07-18 12:00Z\n");
    summer.zone = TimeZone("Europe/Zurich");
    EXPECT_TRUE(has(said(summer).row(0), " 1342605600000 ")) << said(summer).row(0);
    EXPECT_TRUE(has(said(summer).row(1), " 1342612800000 ")) << said(summer).row(1);
    EXPECT_EQ(said(summer).remarks, "");
    const std::pair<TimeUnit, std::int64_t> units[] = {{TimeUnit::seconds, 9000000000000900},
                                                       {TimeUnit::milliseconds, 9000000000000},
                                                       {TimeUnit::microseconds, 9000000000},
                                                       {TimeUnit::nanoseconds, 9000000}};
    for (const auto& [unit, time] : units) { // what is said is believed
        InputOptions options;
        options.timeUnit = unit;
        options.file = save("t.csv", "id,lat,lon,t_ms\na,1,2,9000000000000.9\n");
        options.columns = {"", "", "", "t_ms"};
        EXPECT_TRUE(has(said(options).row(0), ' ' + std::to_string(time) + ' ')) << time;
        EXPECT_EQ(said(options).remarks, "");
    }
    // What is written can be read.
    for (std::int64_t time = 0; time < 253402300800000; time += 86400000LL * 17 + 12345678) {
        std::string text;
        appendTime(text, time);
        IsoTime back;
        EXPECT_EQ(readIsoTime(text, back), nullptr) << text;
        EXPECT_EQ(back.time, time) << text;
    }
}

TEST(Input, FindsColumns) {
    const std::string good = "e 1.000000000 2.000000000 3000 ";
    const struct {
        const char* header;
        const char* row;
        std::string words;
        std::array<std::string, static_cast<std::size_t>(FixField::count)> columns = {};
    } rows[] = {
        {"entity,lat,lon,time_ms", "e,1,2,3000", good + "-1 /"},
        {"USER_ID, Latitude ,\"LONG\",TS", "e,1,2,3", good + "-1 /"},
        {"mmsi,y,x,DateTime,horizontal_accuracy,key", "e,1,2,3,4,k", good + "4 k/"},
        {"device,lat,y,lng,time,HDOP,primary_key,secondary_key", "e,1,9,2,3,4,k,l",
         good + "20 k/l"},
        {"id,user,lat,lon,t,time,accuracy_m,accuracy,key,primary_key", "9,e,1,2,9,3,4,9,9,k",
         good + "4 k/"},
        {"name,id,lat,lon,time,hdop,accuracy", "9,e,1,2,3,9,4", good + "4 /"},
        {"entity,lat,lon,time,hdop", "e,1,2,3,1e308", "hdop is out of range"},
        {"lat,lon,time", "", "header has no column entity (nor entity_id, user,"},
        {"entity,lat,time", "", "longitude, location_long, "},
        {"entity,lat,time", "", "; it has entity, lat, time; name the right one with --lon-column"},
        {"# Timestamp,deviceId,location-lat,Location Long,traj_id,eph", "3,e,1,2,9,4",
         good + "4 /"},
        {"tracked_at,uid,latitude_,lng,id", "3,e,1,2,9", good},
        {"entity,lat,lon", "", "no column time_ms"},
        {"entity,lat,lon,time,lat", "", "two columns \"lat\"; name another with --lat-column"},
        {"entity,Lat,LAT,lon,time", "", "columns \"Lat\" and \"LAT\"; name the one"},
        {"user,mmsi,lat,lon,time", "", "columns \"user\" and \"mmsi\""},
        {"user,mmsi,lat,lon,time", "9,e,1,2,3", good, {"mmsi"}},
        {"a,b,c,d,e,f,g", "e,1,2,3,4,k,l", good + "4 k/l", {"a", "b", "c", "d", "e", "f", "g"}},
        {"entity,lat,lon,time,A", "", "no column \"a\", which --entity-column names", {"a"}},
        {"entity,lat,lon,time", "", "no column \"r\"", {"", "", "", "", "r"}},
    };
    for (const auto& [header, row, words, columns] : rows) {
        InputOptions options;
        options.file = save("c.csv", header + "\n"s + row + '\n');
        options.columns = columns;
        EXPECT_TRUE(has(said(options).row(0), words)) << header << said(options).row(0);
    }
}

TEST(Input, SaysWhatIsBroken) {
    const std::string header = "entity,lat,lon,time_ms\n";
    const std::string good = header + "a,1,2,3\n";
    const std::string json = "{\"id\":1,\"lat\":1,\"lon\":2,\"t\":3}\n";
    const std::string zipped = packed(good + std::string(1 << 18, '\n'));
    std::string gpx = R"(<gpx version="1.1" creator="x"><trk><trkseg>)";
    for (int point = 0; point < 200; ++point) { // more than GDAL looks at before it begins
        gpx += R"(<trkpt lat="1" lon="2"><time>2012-12-18T11:58:00Z</time></trkpt>)";
    }
    const auto feature = [](const std::string& geometry) {
        return R"({"type":"Feature","properties":{"id":1,"t":9},"geometry":)" + geometry + "}";
    };
    const std::string collection =
        R"({"type":"FeatureCollection","x":"]}[{\"","y":[1,2],"features":[)";
    const std::string point =
        feature(R"({"type":"Point","coordinates":[2,1]},"x":[",","\u0001\\u0000"])");
    const std::string large(std::size_t{1} << 20, ' ');
    const std::string harmless =
        "<!-- -> <a><a> - --><![CDATA[]> <a><a>]]><?x <a><a>?><a b='a>/' c=\"/>'\"/>";
    std::string nested; // 62 in three others
    std::string harmlessGpx = gpx + "</trkseg></trk>";
    std::string longCollection = collection;
    for (int i = 0; i < 40; ++i) {
        harmlessGpx += harmless;
        nested += i < 31 ? "<a><a>" : "";
        longCollection += point.substr(0, point.size() - 1) + large.substr(0, 30000) + "},";
    }
    std::string damaged = zipped;
    damaged[zipped.size() - 5] ^= 1;                                             // in the check sum
    const std::string wide = "a,1,2," + std::string(65528 - header.size(), '0'); // CR ends a piece
    const std::string cutOff = "the input ends in the middle of a row";
    const struct {
        std::string file; // to be made, unless it cannot be
        std::string bytes;
        std::size_t fixes;
        std::string words; // of what follows them
    } rows[] = {
        {"/no/such.csv", "", 0, "cannot open /no/such.csv: No such file"},
        {"/no/such.gpkg", "", 0, "/no/such.gpkg"},
        {"/", "", 0, "cannot read /: Is a directory"},
        {"PG:host=/nowhere dbname=x", "", 0, "PG:host=/nowhere dbname=x: GDAL cannot read it as P"},
        {"http://x/y", "", 0, "is no file; if one of GDAL's drivers"},
        {"b.parquet", "PAR1\x15\x04", 0, "b.parquet: GDAL "},
        {"b.csv", "PAR1\x15\x04", 0, "is a Parquet file: name it .parquet"},
        {"b.csv", "id,t,wkt\na,3,POINT (1 2 x)\n", 0, "wkt is no point in WKT or GeoJSON"},
        {"b.csv", "id,t,wkt\na,3,POINT (1 2 3 4 5)\n", 0, "is no point"},
        {"b.csv", "id,t,wkt\na,3,POINT (47 180)\n", 0, "out of range (the longitude comes first)"},
        {"b.csv", "id,t,wkt\na,3,SRID=3857;POINT (1 2)\n", 0, "another coordinate system"},
        {"b.csv", "id,t,wkt\na,3,\n", 0, "wkt is missing"},
        {"b.csv", "id;t;geom\na;3;{\"type\":\"Point\",\"coordinates\":[1]}\n", 0,
         "geom is no point"},
        {"b.csv", "SQLite format 3\0\x10"s, 0, "is an SQLite database: name it .gpkg"},
        {"b.csv", "PK\3\4\x14", 0, "is a zip archive"},
        {"b.csv", "\xFF\xFEi\0d\0"s, 0, "is text in UTF-16: convert it to UTF-8"},
        {"b.csv", "i\0d\0,\0\n\0"s, 0, "line 1: the header holds a NUL"},
        {"b.csv.gz", packed(packed(good)), 0, "is packed by gzip twice"},
        {"b.ndjson", "ARROW1\0\0"s, 0, "is an Arrow file"},
        {"b.kml", "<kml/>", 0, "is XML or HTML"},
        {"b.csv", header + "a\0b,1,2,3\n"s, 0, "entity holds a NUL"},
        {"b.csv", header + "M\xFCller,1,2,3\n", 0, "entity is not UTF-8"},
        {"b.csv", "key,id,lat,lon,t\nM\xFCller,a,1,2,3\n", 0, "key is not UTF-8"},
        {"b.csv", "secondary_key,id,lat,lon,t\n\0,a,1,2,3\n"s, 0, "secondary_key holds a NUL"},
        {"b.ndjson", json + R"({"id":"a\u0000b","lat":1,"lon":2,"t":3})", 1, "id holds a NUL"},
        {"b.geojson",
         R"({"type":"Feature","geometry":{"type":"Point","coordinates":[2,1]},"properties":{"t":9,"id":")"
         "\xFF\"}}",
         0, "id is not UTF-8"},
        {"b.csv", " \n\r\n", 0, "b.csv is empty"},
        {"b.csv", header + "a,-90,180,3\na,-90.01,180,3\n", 1, "lat is out of range: \"-90.01\""},
        {"b.csv", header + "a,90,-180,3\na,90,180.01,3\n", 1, "lon is out of range: \"180.01\""},
        {"b.csv", header + wide + "3\r\n\"a,1\n", 1, "line 3: the input ends inside"},
        {"b.csv", header + "a,1", 0, "line 2: " + cutOff},
        {"b.csv", header + "a,1\n", 0, "2 fields where the header has 4"},
        {"b.csv", header + "a,1,2,3,", 0, "5 fields"},
        {"b.csv", good + "\"a,1\n", 1, "line 3: the input ends inside a quoted field"},
        {"b.csv", good + std::string((1 << 20) - 1, 'x') + "\na", 1, "1 fields where"},
        {"b.csv", good + std::string(1 << 20, 'x') + '\n', 1, "line 3: a row is longer than"},
        {"b.csv", good + std::string(1 << 21, ','), 1, "line 3: a row is longer than"},
        {"b.gz", zipped.substr(0, 9), 0, "the file is cut off"},
        {"b.gz", zipped.substr(0, zipped.size() - 1), 1, "the file is cut off"},
        {"b.gz", damaged, 1, "the gzip data is broken: incorrect data check"},
        {"b.gz", zipped + "xyz", 1, "the gzip data is broken: incorrect header check"},
        {"b.ndjson", "", 0, "b.ndjson is empty"},
        {"b.ndjson", "{\"id\":1}\n", 0, "the first object has no column lat"},
        {"b.ndjson", json + "{\"id\":1,\"la", 1, "line 2: " + cutOff},
        {"b.ndjson", json + "{\"id\":null}\n", 1, "id is missing"},
        {"b.ndjson", json + "{\"id\":[1]}\n", 1, "id is nested"},
        {"b.ndjson", json + "{\"id\":{}}\n", 1, "id is nested"},
        {"b.ndjson", json + "{\"id\":true}\n", 1, "id is true or false"},
        {"b.ndjson", json + "{\"id\":1,\"id\":1}\n", 1, "id stands there twice"},
        {"b.ndjson", json + std::string(1 << 20, ' ') + '\n', 1, "longer than 1 MiB"},
        {"b.geojson", feature("null"), 0, "geometry is missing"},
        {"b.geojson", feature(R"({"type":"Point","coordinates":[2,91]})"), 0,
         "lat is out of range: \"91\""},
        {"b.geojson", feature(R"({"type":"LineString","coordinates":[[1,2],[3,4]]})"), 0,
         "no point but a LINESTRING"},
        {"b.geojson", "{\"type\":\"FeatureCollection\",\"features\":[" + feature("null"), 0,
         "b.geojson: GDAL cannot read it as GeoJSON (At line 1"},
        {"b.json", longCollection + feature("null") + "]}", 40, "geometry is missing"},
        {"b.json", collection + point + large + "]}", 0, "b.json: it has a feature longer than 1"},
        {"b.json", R"({"features":[)" + point + "]}", 0, "its type is not FeatureCollection"},
        {"b.json", collection + point + R"(],"type":"a"})", 0, "its type is not FeatureCollection"},
        {"b.json", collection + point + "]" + large + "}", 0,
         "more than 1 MiB outside of the feat"},
        {"b.json", R"({"features":{"a":[)" + point + ',' + large + "]}}", 0,
         "more than 1 MiB outs"},
        {"b.json.gz", packed(feature("[\"\\\\\\u0000\"]")), 0, "a text in it holds a NUL"},
        {"b.gpx", harmlessGpx + "<trk><trkseg><trkpt lat='91' lon='2'/></trkseg></trk></gpx>", 200,
         "lat is out of range"},
        {"b.gpx", gpx + harmless + "<!DOCTYPE x>", 0, "it declares a document type"},
        {"b.gpx", gpx + "<trkpt lat='\0'"s, 0, "it holds a NUL: its text is UTF-16"},
        {"b.gpx", gpx + nested.substr(0, 3 * 61), 128, "it breaks off behind feature"},
        {"b.gpx.gz", packed(gpx + nested), 0, "its elements nest too deep"},
        {"b.gpx", gpx, 128, "b.gpx: it breaks off behind feature 128 (XML parsing of GPX file"},
        {"waypoints.gpx", "<gpx version=\"1.1\" creator=\"x\"></gpx>", 0, "no layer has"},
    };
    for (const auto& [file, bytes, fixes, words] : rows) {
        const bool isMade = file.find_first_of("/:") == std::string::npos;
        const Said all = isMade ? said(file, bytes) : said(file);
        EXPECT_TRUE(has(all.row(fixes), words)) << file << all.row(fixes);
        EXPECT_TRUE(fixes == 0 || has(all.row(0), ".000000000 ")) << file << all.row(0);
    }
    for (const std::string row : {"{\"id\":1,\"la", "[1]", "{} {}", "{\"id\":\"\xFF\"}",
                                  "{\"lat\":01}", "{\"\\x\":1}", "{\"id\" 1}", "{\"id\":x}"}) {
        const Said all = said("b.ndjson", json + row + "\n{\"accuracy\":7," + json.substr(1));
        EXPECT_TRUE(has(all.row(1), "not one JSON object")) << all.row(1);
        EXPECT_EQ(all.row(2), "1 1.000000000 2.000000000 3000 7 /");
        EXPECT_EQ(all.verbatim[1], row);
    }
    for (const std::string place :
         {"~", "POINT", "POINT EMPTY", "POINT (a 2)", "POINT (1)", "POINT (1 2) x", "{\"type\"",
          "LINESTRING (1 2)", R"({"type":7})", R"({"type":"Line","coordinates":[1,2]})",
          R"({"type":"Point"})", R"({"type":"Point","coordinates":["1",2]})"}) {
        const Said all = said("b.csv", "id|t|wkt\na|3|" + place + '\n');
        EXPECT_TRUE(has(all.row(0), "wkt is no point in WKT or GeoJSON")) << all.row(0);
    }
    InputOptions options;
    options.file = save("b.gpx", gpx + "</trkseg></trk></gpx>");
    for (const std::string layer : {"tracks", "cars"}) {
        options.layer = layer;
        const std::string words = layer == "cars" ? "no layer \"cars\"; the layers are waypoints"
                                                  : "layer \"tracks\" has no column time";
        EXPECT_TRUE(has(said(options).row(0), words)) << said(options).row(0);
    }
}

/// Waits on this machine for somebody to call.
class Listener {
public:
    Listener() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&address), size), 0);
        EXPECT_EQ(listen(socket_, 9), 0);
        EXPECT_EQ(getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size), 0);
        url = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/x";
    }
    ~Listener() { close(socket_); }
    bool wasCalled() const { return accept(socket_, nullptr, nullptr) >= 0; }

    std::string url;

private:
    int socket_ = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
};

/// A file's bytes after SQLite ran something on it.
std::string altered(const std::string& file, const std::string& sql) {
    const std::string copy = scratch("altered");
    std::filesystem::copy_file(file, copy, std::filesystem::copy_options::overwrite_existing);
    sqlite3* database = nullptr;
    sqlite3_open(copy.c_str(), &database);
    EXPECT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sql;
    sqlite3_close(database);
    return bytesOf(copy);
}

std::vector<std::string> listing(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path());
    }
    std::sort(names.begin(), names.end());
    return names;
}

TEST(Input, NoFileRunsReachesOutOrWrites) {
    const Listener net;
    const std::string collection = R"({"type":"FeatureCollection","features":[{"type":"Feature",
        "properties":{"id":"a","t":9},"geometry":{"type":"Point","coordinates":[2,1]}}])";
    const std::string secret = save("secret.csv", "id,lat,lon,t\nsecret,1,2,3\n");
    const std::string geoPackage = translated(save("a.geojson", collection + '}'), "a.gpkg", {});
    const std::string plain = bytesOf(geoPackage);
    const auto with = [&](const std::string& sql, const std::string& table) {
        return altered(geoPackage, sql +
                                       ";INSERT INTO gpkg_contents (table_name, data_type) "
                                       "VALUES ('" +
                                       table + "', 'attributes')");
    };
    const std::string forged = "PRAGMA writable_schema = 1; INSERT INTO sqlite_master VALUES "
                               "('table', 'v', 'v', 0, 'CREATE ";
    const std::string view =
        with("CREATE VIEW e AS SELECT 'a' AS id, 1 AS lat, 2 AS lon, 9 AS t", "e");
    const std::string reader =
        with(forged + "VIRTUAL TABLE v USING VirtualText(\"" + secret + "\", UTF-8, 1)')", "v");
    const auto virtualSet = [](const std::string& source) {
        return "<OGRVRTDataSource><OGRVRTLayer name=\"secret\"><SrcDataSource>" + source +
               "</OGRVRTLayer></OGRVRTDataSource>";
    };
    const std::string sets[] = {virtualSet(secret + "</SrcDataSource>"),
                                virtualSet(geoPackage + "</SrcDataSource><SrcSQL>VACUUM INTO '" +
                                           scratch("hostile/new") + "'</SrcSQL>"),
                                virtualSet("/vsicurl/" + net.url + ".csv</SrcDataSource>"),
                                "<OGRWFSDataSource><URL>" + net.url + "</URL></OGRWFSDataSource>"};
    const std::string gml =
        R"(<g:FeatureCollection xmlns:g="http://www.opengis.net/gml" xmlns:o="http://o" xmlns:xsi=
        "http://www.w3.org/2001/XMLSchema-instance" xsi:schemaLocation="http://o )" +
        net.url +
        R"("><g:featureMember><o:p><o:id>a</o:id><o:t>9</o:t><o:place><g:Point><g:coordinates>2,1
        </g:coordinates></g:Point></o:place></o:p></g:featureMember></g:FeatureCollection>)";
    const auto withSystem = [&](const std::string& type, const std::string& where) {
        return collection + R"(,"crs":{"type":")" + type + where + "\"}}}";
    };
    struct Trick {
        std::string file; // to be made, unless it cannot be
        std::string bytes;
        std::string words; // none: a good fix
        std::string driver = "";
        std::string layer = "";
    };
    std::vector<Trick> tricks = {
        {"t.gml", gml, "is XML or HTML"},
        {"t.gml", gml, "", "GML"},
        {"t.vrt", sets[0], "is XML or HTML"},
        {"t.vrt", sets[2], "GDAL cannot read its layer \"secret\" (", "OGR_VRT"},
        {"t.csv", "", "no such driver", "Nope"},
        {net.url + ".geojson", "", "there is no such file"},
        {net.url, "", "is no file"},
        {"/vsicurl/" + net.url + ".gpx", "", "/vsi are not read"},
        {"/vsicurl/" + net.url + ".gpx", "", "/vsi are not read", "GPX"},
        {"t.json.gz", packed(collection + '}'), ""},
        {"t.geojson", withSystem(R"(link","properties":{"href":")", net.url), "GeoJSON (No data"},
        {"t.geojson", withSystem(R"(name","properties":{"name":")", secret), "(Cannot import"},
        {"t.gpkg", altered(geoPackage, "PRAGMA journal_mode = WAL"), ""},
        {"t.gpkg.gz", packed(plain), "unpack it with gunzip"},
        {"t%20.gpkg", plain, "rename it"},
        {"t?#.gpkg", plain, ""},
        {"t.gpkg", view, "as in \"e\"; if you trust it"},
        {"t.gpkg", view, "", "GPKG", "e"},
        {"t.gpkg", with("CREATE VIEW e AS SELECT spatialite_version() AS id", "e"),
         "(sqlite3_get_table", "GPKG", "e"},
        {"t.gpkg", with("CREATE TABLE e (id, lat AS (hex(zeroblob(9))))", "e"), "as in \"e\"; if"},
        {"t.gpkg", with(forged + "VIEW v AS SELECT 1')", "v"), "SQLite cannot read it: malformed"},
        {"t.gpkg", altered(geoPackage, "CREATE VIRTUAL TABLE \"r\"\"s\" USING rtree (i, a, b)"),
         ""},
        {"t.gpkg", reader, "(VirtualText)"},
        {"t.gpkg", reader, "(VirtualText)", "GPKG"},
    };
    for (const std::string ending : {"gpx", "gpkg", "geojson", "json", "fgb", "shp", "gpx.gz"}) {
        for (const std::string& bytes : sets) {
            tricks.push_back({"t." + ending, has(ending, "gz") ? packed(bytes) : bytes,
                              ending == "gpkg" ? "SQLite cannot read it: file is not a database"
                                               : "GDAL cannot read it as "});
        }
    }
    tricks.push_back({"t.gpkg-wal", "", "is empty"});
    tricks.push_back({"t.gpkg", plain, ""});
    tricks.push_back({"t.gpkg-wal", "x", "has no column entity"});
    tricks.push_back({"t.gpkg", plain, "end the program that writes it"});
    std::filesystem::create_directory(scratch("hostile"));
    for (const auto& [file, bytes, words, driver, layer] : tricks) {
        InputOptions options;
        options.file = has(file, "/") ? file : save("hostile/" + file, bytes);
        options.gdalDriver = driver;
        options.layer = layer;
        const std::vector<std::string> before = listing(scratch("hostile"));
        const std::string row = said(options).row(0);
        EXPECT_TRUE(has(row, words.empty() ? "a 1.000000000 2.000000000 9000 -1 /" : words))
            << file << ' ' << row;
        EXPECT_FALSE(has(row, "secret 1.0")) << file;
        EXPECT_EQ(listing(scratch("hostile")), before) << file;
        EXPECT_FALSE(net.wasCalled()) << file;
        if (!has(file, "wal")) {
            std::filesystem::remove(options.file);
        }
    }
}

TEST(Input, HasManyFiles) {
    const auto row = [](const char* entity, int lat) {
        return std::string(entity) + "," + std::to_string(lat) + ",2,3\n";
    };
    const std::string header = "id,lat,lon,t\n";
    std::filesystem::create_directories(scratch("many/.hidden"));
    std::filesystem::create_directories(scratch("many/day=2"));
    save("many/b.csv", header + row("b", 2));
    save("many/day=2/a.csv.gz", packed(header + row("a", 3) + row("b", 4)));
    save("many/a.ndjson", R"({"id":"a","lat":1,"lon":2,"t":"1970-01-01T00:00:03"})");
    save("many/none.csv", "");
    for (const char* ignored :
         {"many/.hidden/a.csv", "many/_SUCCESS", "many/notes", "many/.b.csv"}) {
        save(ignored, "nothing");
    }
    const auto of = [](std::vector<std::string> names) {
        InputOptions options;
        options.names = std::move(names);
        std::string all;
        try {
            const auto source = openTracks(options);
            Said first = said(*source);
            source->rewind();
            EXPECT_EQ(said(*source).rows, first.rows);
            EXPECT_TRUE(!first.end.empty() || source->shareRead() == 1.0);
            for (const std::string& each : first.rows) {
                all += each.substr(0, 3) + '|';
            }
            return all + first.remarks + first.end;
        } catch (const Failure& failure) {
            return std::string(failure.what());
        }
    };
    const std::string remark = "3 times are plain numbers and were read as seconds.";
    const std::string utc =
        "1 time has no offset and was read as UTC (--time-zone names another zone).";
    std::filesystem::create_directory_symlink(scratch("many"), scratch("many/day=2/round"));
    EXPECT_EQ(of({scratch("many")}), "a 1|b 2|a 3|b 4|" + utc + remark +
                                         "1 file in a folder was not read, as its name does not "
                                         "tell its format.1 link to a folder was not followed.");
    EXPECT_TRUE(has(of({scratch("many/day=2")}), "a 3|b 4|2 times")) << "one file";
    EXPECT_TRUE(has(of({scratch("many/day=2")}), "1 link to a folder was not followed."));
    EXPECT_TRUE(has(of({scratch("many/*.csv"), scratch("many/day*/a*")}), "b 2|a 3|b 4|"));
    EXPECT_TRUE(has(of({scratch("many/b.csv"), scratch("many/./b.csv"), scratch("many/b*")}),
                    "b 2|1 time"));
    EXPECT_TRUE(has(of({scratch("many/none.csv"), scratch("many/none.csv")}), "none.csv is empty"));
    EXPECT_TRUE(has(of({scratch("many/b.csv"), scratch("gone")}), "gone: there is no such file"));
    EXPECT_TRUE(has(of({scratch("many/*.gpx")}), "no file has a name that fits"));
    EXPECT_TRUE(has(of({scratch("many/none.csv"), save("none", "")}), "none is empty"));
    EXPECT_TRUE(has(of({save("c[1].csv", header + row("c", 5))}), "c 5|"));
    EXPECT_TRUE(has(of({scratch("many/.hidden/..")}), "a 1|")) << "as it is named";
    std::filesystem::create_directories(scratch("many/day=3"));
    EXPECT_TRUE(has(of({scratch("many/day=3")}), "no file in the folder has a name that tells"));
}

TEST(Filter, LeavesOutWhatIsNotAskedForAndWhatIsTooFast) {
    FilterOptions east{{"a", "b"}, Area{170, -10, -170, 10}, 1000, 8999, std::nullopt};
    FilterOptions fast;
    fast.maxSpeed = 10.0;
    const struct {
        const FilterOptions& options;
        const char* entity;
        double latitude;
        double longitude;
        std::int64_t time;
        bool isTaken;
    } rows[] = {
        {east, "a", 10, 170, 1000, true},    {east, "b", -10, -170, 8999, true},
        {east, "c", 0, 175, 2000, false},    {east, "a", 0, 169.9, 2000, false},
        {east, "a", 0, -169.9, 2000, false}, {east, "a", 10.1, 180, 2000, false},
        {east, "a", 0, 180, 999, false},     {east, "a", 0, -180, 9000, false},
        {fast, "a", 0, 0, 0, true},          {fast, "a", 0.0000899, 0, 1000, true},
        {fast, "a", 1, 0, 2000, false},                                           // astray
        {fast, "b", 50, 0, 2000, true},      {fast, "a", 0.0001, 0, 1000, false}, // at once
        {fast, "a", 0.0001, 0, 3000, true},  {fast, "a", 5, 0, 4000, false},
        {fast, "a", 9, 0, 5000, false},      {fast, "a", 5, 0, 5000, false},
        {fast, "a", 5, 0, 6000, false},      {fast, "b", 50, 0.001, 1000, false},
        {fast, "a", 5, 0, 7000, true}, // the third that agrees: it is there
        {fast, "a", 0.0001, 0, 8000, false}, {fast, "a", 5.0001, 0, 6000, false},
        {fast, "a", 5.0001, 0, 9000, true},  {fast, "c", 9, 0, 0, true}, // astray, as every third
        {fast, "c", 0, 0, 1000, false},      {fast, "c", 0, 0, 2000, false},
        {fast, "c", 9, 0, 3000, true},       {fast, "c", 0, 0, 4000, true},
        {fast, "c", 0, 0, 5000, true},       {fast, "c", 9, 0, 6000, false},
        {fast, "c", 0, 0, 7000, true},       {fast, "c", 9, 0, 8000, false},
        {fast, "c", 0, 0, 9000, true},       {fast, "c", 9, 0, 10000, false},
        {fast, "c", 0, 0, 11000, true},
    };
    FixFilter filters[] = {FixFilter(east), FixFilter(fast)};
    for (const auto& row : rows) {
        FixFilter& filter = filters[&row.options == &east ? 0 : 1];
        const Fix fix{row.entity, row.latitude, row.longitude, row.time, {}, "", ""};
        EXPECT_EQ(filter.takes(fix), row.isTaken) << &row - rows;
    }
    EXPECT_TRUE(has(filters[0].remarks().at(0), "6 rows were left out by --entity"));
    EXPECT_TRUE(has(filters[1].remarks().at(0), "14 rows were left out because they imply more"));
}

std::string withoutBlanks(std::string text) {
    for (const char blank : {' ', '\t', '\r', '\n'}) {
        text.erase(std::remove(text.begin(), text.end(), blank), text.end());
    }
    return text;
}

/// What PlainObject takes of a row that stands in the midst of others.
std::vector<std::string> plainOf(const std::string& row, bool& isPlain) {
    const std::string held = row + std::string(LineBuffer::kPadding, '"');
    PlainObject object;
    isPlain = object.read(std::string_view(held).substr(0, row.size()));
    std::vector<std::string> found;
    for (const auto& [key, value] : object.members()) {
        found.insert(found.end(), {std::string(key), std::string(value)});
    }
    return found;
}

/// The same, of an object of numbers and texts, by the JSON library; nothing else has more than one
/// word.
std::vector<std::string> jsonOf(const std::string& row) {
    namespace ondemand = simdjson::ondemand;
    ondemand::parser parser;
    const simdjson::padded_string held(row);
    ondemand::document document;
    ondemand::object object;
    std::vector<std::string> found;
    if (parser.iterate(held).get(document) != 0U || document.get_object().get(object) != 0U) {
        return {"no object"};
    }
    for (auto member : object) {
        std::string_view key;
        ondemand::value value;
        std::string_view text;
        if (member.unescaped_key().get(key) != 0U || member.value().get(value) != 0U) {
            return {"no member"};
        }
        found.emplace_back(key);
        if (value.get_string().get(text) != 0U) {
            text = value.raw_json_token();
            text = text.substr(0, text.find_last_not_of(" \t") + 1);
            if (value.get_double().error() != 0U) {
                return {"no number"};
            }
        }
        found.emplace_back(text);
    }
    return document.current_location().error() == simdjson::OUT_OF_BOUNDS
               ? found
               : std::vector<std::string>{"more"};
}

TEST(PlainObject, TakesRowsAsTheJsonLibraryDoes) {
    const std::string usual =
        R"({"entity": "a cab", "lat": -37.70, "t":0 ,"more" : "0123456789ab"})";
    const std::string others[] = {R"({"a":1e3})",  R"({"a":"\n"})", "{\"a\":\"\xc3\xab\"}",
                                  R"({"a":null})", R"({"a":[1]})",  "{}"};
    const std::string wrong[] = {"",
                                 "{",
                                 R"({"a"})",
                                 R"({"a":1,})",
                                 R"({"a":01})",
                                 R"({"a":-})",
                                 R"({"a":1.})",
                                 R"({"a":.5})",
                                 R"({"a":"b})",
                                 R"({"a":1}})",
                                 R"({"a":1}{})",
                                 R"({"a":1 "b":2})",
                                 "{\"a\":\"\t\"}",
                                 "{\"a\":\"\xff\"}"};
    bool isPlain = false;
    for (const std::string& row : others) {
        EXPECT_TRUE((plainOf(row, isPlain), !isPlain)) << row;
    }
    for (const std::string& row : wrong) {
        EXPECT_TRUE((plainOf(row, isPlain), !isPlain)) << row;
    }
    EXPECT_EQ(plainOf(usual, isPlain),
              (std::vector<std::string>{"entity", "a cab", "lat", "-37.70", "t", "0", "more",
                                        "0123456789ab"}));
    EXPECT_TRUE(isPlain);
    std::mt19937 random(1);
    constexpr std::string_view kBytes = "{}[]\":, \t\\.-+eE01x\x7f\xc3\xab";
    int taken = 0;
    for (int i = 0; i < 100000; ++i) {
        std::string row = usual;
        for (auto changes = random() % 3; changes < 3; ++changes) {
            const std::size_t place = 1 + random() % (row.size() - 2);
            row.replace(place, random() % 2, random() % 2, kBytes[random() % kBytes.size()]);
        }
        const std::vector<std::string> plain = plainOf(row, isPlain);
        if (isPlain) {
            ASSERT_EQ(plain, jsonOf(row)) << row;
            ++taken;
        }
    }
    EXPECT_GT(taken, 20000);
}

TEST(Input, LosesNothingOfRandomBytes) {
    const std::string header = "entity,lat,lon,time\n";
    const std::string alphabets[] = {",\"\n\ra1 \t", "a,1,2,3\n", "{}[]:,\"\\i1\n", "\x1F\x8B\n{,"};
    for (std::mt19937::result_type seed = 0; seed < 200; ++seed) {
        std::mt19937 random(seed);
        const std::string& alphabet = alphabets[seed % std::size(alphabets)];
        std::string bytes;
        for (auto size = random() % (seed % 25 == 0 ? 150000U : 300U); size > 0; --size) {
            bytes +=
                seed % 7 == 0 ? static_cast<char>(random()) : alphabet[random() % alphabet.size()];
        }
        for (const std::string name : {"r.ndjson", "r.gz", "r.tsv"}) {
            said(name, bytes); // neither crashes nor hangs
        }
        const Said all = said("r.csv", header + bytes);
        std::string rows;
        for (const std::string& row : all.verbatim) {
            rows += row + '\n';
        }
        const std::string kept = withoutBlanks(rows);
        EXPECT_EQ(kept, withoutBlanks(bytes).substr(0, kept.size())) << seed;
        EXPECT_TRUE(!all.end.empty() || kept == withoutBlanks(bytes)) << seed;
        const Said again = said("r.csv", header + rows);
        EXPECT_EQ(again.rows, all.rows) << seed;
        EXPECT_EQ(again.verbatim, all.verbatim) << seed;
    }
}

// ---- What is kept ----

TEST(KeptFixes, AreAllOfThemBitForBitOrNone) {
    std::mt19937_64 random(5);
    const auto text = [&random](std::size_t most) {
        return std::string(random() % most, static_cast<char>('a' + random() % 26));
    };
    KeptFixes kept(std::size_t{2} << 20);
    kept.add({"a", 1.0, 2.0, 3, {}, "", ""});
    EXPECT_FALSE(kept.holdsAll()); // not asked to
    kept.begin();
    std::vector<Fix> fixes;
    for (std::size_t bytes = 0; bytes < 1'500'000;) { // more than one piece
        const std::size_t most = fixes.size() % 100 == 0 ? 50'000 : 12;
        const auto accuracy =
            random() % 2 == 0 ? std::optional(1.0 / double(random())) : std::nullopt;
        fixes.push_back({"e" + text(most), random() % 3 == 0 ? -0.0 : 90.0 / double(random()),
                         -180.0 / double(random()), std::int64_t(random() >> 1), accuracy, text(3),
                         text(most)});
        kept.add(fixes.back());
        bytes += 50 + fixes.back().entity.size() + fixes.back().secondaryKey.size();
    }
    kept.foresee(0.51);
    ASSERT_TRUE(kept.holdsAll());
    EXPECT_EQ(kept.count(), fixes.size());
    Fix taken{"old", 1.0, 1.0, 1, 1.0, "old", "old"};
    for (const Fix& fix : fixes) {
        ASSERT_TRUE(kept.take(taken));
        ASSERT_EQ(std::tie(taken.entity, taken.latitude, taken.longitude, taken.time,
                           taken.accuracyM, taken.primaryKey, taken.secondaryKey),
                  std::tie(fix.entity, fix.latitude, fix.longitude, fix.time, fix.accuracyM,
                           fix.primaryKey, fix.secondaryKey));
        ASSERT_EQ(std::signbit(taken.latitude), std::signbit(fix.latitude));
    }
    EXPECT_FALSE(kept.take(taken));

    KeptFixes tooMany(std::size_t{2} << 20);
    tooMany.begin();
    std::for_each(fixes.begin(), fixes.end(), [&](const Fix& fix) { tooMany.add(fix); });
    tooMany.foresee(0.49);
    EXPECT_FALSE(tooMany.holdsAll() || tooMany.take(taken));

    KeptFixes small(std::size_t{1} << 20);
    small.begin();
    for (const Fix& fix : fixes) {
        small.add(fix);
    }
    EXPECT_FALSE(small.holdsAll());
    EXPECT_FALSE(small.take(taken));
}

} // namespace
