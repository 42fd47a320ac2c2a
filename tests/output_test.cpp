#include "engine/columns/EntityDictionary.h"
#include "engine/columns/ResultLayout.h"
#include "program/Failure.h"
#include "program/commands/Progress.h"
#include "program/gdal/OgrRows.h"
#include "program/gdal/SpatialIndex.h"
#include "program/output/CellBounds.h"
#include "program/output/ResultWriter.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <grp.h>
#include <gtest/gtest.h>
#include <memory>
#include <ogrsf_frmts.h>
#include <optional>
#include <random>
#include <simdjson.h>
#include <sqlite3.h>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace {

using namespace program;
using Texts = std::vector<std::string>;

[[maybe_unused]] const mode_t kBefore = umask(027);

struct Sample {
    std::string name;
    std::int64_t total;
    double lat;
    std::optional<double> off; ///< metres
    std::int64_t time;
    std::int64_t end;
    SpaceBox cell;
    Texts read; ///< what comes out of a file: fields and corners

    std::uint64_t entity = 0;
};

using Layout = ResultLayout<Sample>;

/// A shape without columns.
const Layout kLayout("found", "for tests",
                     {Layout::entity<&Sample::entity>("entity", ""),
                      Layout::whole<&Sample::total>("total", "", ""),
                      Layout::degrees<&Sample::lat>("lat", ""),
                      Layout::metres<&Sample::off>("off", ""),
                      Layout::time<&Sample::time>("time", ""),
                      Layout::boxEnd<&Sample::end>("end", ""),
                      {{}, [](const Sample& sample, RowAppender& to) { to.shape(sample.cell); }}});

constexpr std::int64_t kLast = 253402300799999;
const char kLastText[] = "9999-12-31T23:59:59.999Z";
const std::string kBad = "\xEF\xBF\xBD";
const Sample kSamples[] = {
    {"",
     7,
     1e-6,
     0.01,
     1,
     kLast,
     SpaceBox("u"),
     {"", "7", "0.000001", "0.010000", "1970-01-01T00:00:00.001Z", kLastText,
      "0 45,45 45,45 90,0 90,0 45"}},
    {"a \"b\",\nc",
     -1,
     -0.5,
     {},
     -1,
     kLast + 1,
     SpaceBox("h"),
     {"a \"b\",\nc", "-1", "-0.500000", "none", "1969-12-31T23:59:59.999Z", "ever",
      "0 -90,45 -90,45 -45,0 -45,0 -90"}},
    {"\x01\x1f\\/\r\xc3\xab",
     9007199254740993,
     89.25,
     1234.5,
     kLast,
     1,
     SpaceBox(""),
     {"\x01\x1f\\/\r\xc3\xab", "9007199254740993", "89.250000", "1234.500000", kLastText,
      "1970-01-01T00:00:00.001Z", "-180 -90,180 -90,180 90,-180 90,-180 -90"}},
    {"\xff\xc3(\xed\xa0\x80o\xe2\x82",
     -9007199254740993,
     -90.0,
     0.0,
     1355831610250,
     INT64_MAX,
     SpaceBox("s3"),
     {kBad + kBad + "(" + kBad + kBad + kBad + "o" + kBad + kBad, "-9007199254740993", "-90.000000",
      "0.000000", "2012-12-18T11:53:30.250Z", "ever",
      "11.25 5.625,22.5 5.625,22.5 11.25,11.25 11.25,11.25 5.625"}}};

/// The samples from one to before another.
ResultTable tableOf(const Layout& layout, const Sample* begin, const Sample* end) {
    const auto names = std::make_shared<EntityDictionary>(EntityKind::text);
    ResultTable table = layout.makeTable(names);
    for (Sample sample : std::vector<Sample>(begin, end)) {
        sample.entity = names->numberOf(std::string_view(sample.name));
        layout.append(sample, table);
    }
    return table;
}

/// As a session hands them on to that writer.
ResultBatch batchOf(const ResultWriter& writer, ResultTable table) {
    ResultBatch batch{std::move(table), {}, 0};
    batch.size = batch.table.size();
    if (const auto renderer = writer.renderer()) {
        for (std::size_t row = 0; row < batch.table.size(); ++row) {
            renderer->append(batch.text, batch.table, row);
        }
        batch.table.clear();
    }
    return batch;
}

/// Writes the samples so many times.
void writeSamples(ResultWriter& writer, const Layout& layout, std::size_t times = 1) {
    const ResultBatch batch =
        batchOf(writer, tableOf(layout, std::begin(kSamples), std::end(kSamples)));
    for (; times > 0; --times) {
        writer.write(batch);
    }
}

std::string contents(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::string fieldText(const OGRFeature& feature, int field) {
    const OGRFieldType type = feature.GetFieldDefnRef(field)->GetType();
    if (type == OFTReal && !feature.IsFieldSetAndNotNull(field)) {
        return "none";
    }
    if (type == OFTReal) {
        return std::to_string(feature.GetFieldAsDouble(field));
    }
    if (type != OFTDateTime) {
        return feature.GetFieldAsString(field);
    }
    int f[6] = {}; // year to minute, then the zone, where 100 is UTC
    float second = 0;
    const bool isSet =
        feature.GetFieldAsDateTime(field, f, f + 1, f + 2, f + 3, f + 4, &second, f + 5) != 0;
    EXPECT_EQ(f[5], isSet ? 100 : 0);
    return isSet ? CPLSPrintf("%04d-%02d-%02dT%02d:%02d:%06.3fZ", f[0], f[1], f[2], f[3], f[4],
                              static_cast<double>(second))
                 : "ever";
}

/// All features of the file, fields and shape; sorted, as formats have an order of their own.
std::vector<Texts> readMap(const fs::path& file) {
    GDALAllRegister();
    std::vector<Texts> rows;
    const GDALDatasetUniquePtr data(GDALDataset::Open(file.c_str(), GDAL_OF_VECTOR));
    for (const auto& feature : *data->GetLayerByName("found")) {
        rows.emplace_back();
        for (int i = 0; i < feature->GetFieldCount(); ++i) {
            rows.back().push_back(fieldText(*feature, i));
        }
        rows.back().push_back(feature->GetGeometryRef()->exportToWkt());
    }
    EXPECT_EQ(data->GetLayerByName("found")->GetFeatureCount(), static_cast<GIntBig>(rows.size()));
    std::sort(rows.begin(), rows.end());
    return rows;
}

/// What a query gives, value by value with its type.
Texts valuesOf(const fs::path& file, const std::string& query) {
    Texts values;
    sqlite3* database = nullptr;
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_open_v2(file.c_str(), &database, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
    EXPECT_EQ(sqlite3_prepare_v2(database, query.c_str(), -1, &statement, nullptr), SQLITE_OK)
        << query;
    while (sqlite3_step(statement) == SQLITE_ROW) {
        for (int i = 0; i < sqlite3_column_count(statement); ++i) {
            values.push_back(std::to_string(sqlite3_column_type(statement, i)) + ' ');
            if (const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement, i))) {
                values.back().append(bytes,
                                     static_cast<std::size_t>(sqlite3_column_bytes(statement, i)));
            }
        }
    }
    sqlite3_finalize(statement);
    sqlite3_close(database);
    return values;
}

struct Output : testing::Test {
    Output() { fs::create_directory(folder); }
    ~Output() override { fs::remove_all(folder); }

    fs::path file(const std::string& ending) const { return folder / ("out" + ending); }

    /// Writes the samples so many times; not finished.
    std::unique_ptr<ResultWriter> write(const std::string& ending, std::size_t times,
                                        const Layout& layout = kLayout) const {
        auto writer = openResultWriter({file(ending)}, layout.schema());
        writeSamples(*writer, layout, times);
        return writer;
    }
    std::ptrdiff_t fileCount() const {
        return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
    }

    fs::path folder = fs::temp_directory_path() / ("qorvel-output-" + std::to_string(getpid()));
};

} // namespace

TEST_F(Output, MapsAreReadBack) {
    for (const std::string ending : {".geojson", ".GPKG", ".fgb"}) {
        std::vector<Texts> expected;
        for (const Sample& each : kSamples) {
            expected.push_back(each.read);
            expected.back().back() = "POLYGON ((" + each.read.back() + "))";
        }
        std::sort(expected.begin(), expected.end());
        write(ending, 1)->finish();
        EXPECT_EQ(readMap(file(ending)), expected) << ending;
        write(ending, 0)->finish();
        EXPECT_EQ(readMap(file(ending)), std::vector<Texts>()) << ending;
    }
    EXPECT_EQ(fileCount(), 3);
}

TEST_F(Output, TextsAreExact) {
    write(".csv", 1)->finish();
    EXPECT_TRUE(contents(file(".csv"))
                    .starts_with("entity,total,lat,off,time,end\n,7,0.0000010,0.01,"
                                 "1970-01-01T00:00:00.001Z,9999-12-31T23:59:59.999Z\n"
                                 "\"a \"\"b\"\",\nc\",-1,-0.5000000,,"
                                 "1969-12-31T23:59:59.999Z,ever\n\"\x01\x1f\\/\r\xc3\xab\","
                                 "9007199254740993,89.2500000,1234.50,"));
    write(".jsonl", 1)->finish();
    simdjson::dom::parser parser;
    const Sample* next = kSamples;
    for (const auto line : parser.load_many(file(".jsonl").string())) {
        EXPECT_EQ(line["entity"].get_string().value(), next->read[0]);
        EXPECT_EQ(simdjson::to_string(line["total"]), next->read[1]);
        EXPECT_EQ(line["off"].is_null(), !next->off);
        EXPECT_EQ(line["end"].get_string().value(), next->read[5]);
        ++next;
    }
    EXPECT_EQ(next, std::end(kSamples));
    const Layout names("found", "for tests",
                       {Layout::entity<&Sample::entity>("entity", ""),
                        Layout::whole<&Sample::total>("total", "", "")});
    const auto safe = openResultWriter({file(".csv"), OutputFormat::csv, true}, names.schema());
    for (const char* name : {"=1", "+1", "-1", "@a", "\ta", "\ra", "\na", "'a", "1=", "", " -1"}) {
        const Sample sample{name, -1, 0.0, {}, 0, 0, {}, {}};
        safe->write(batchOf(*safe, tableOf(names, &sample, &sample + 1)));
    }
    safe->finish();
    EXPECT_EQ(contents(file(".csv")),
              "entity,total\n'=1,-1\n'+1,-1\n'-1,-1\n'@a,-1\n'\ta,-1\n\"'\ra\",-1\n\"'\na\",-1\n"
              "''a,-1\n1=,-1\n,-1\n\" -1\",-1\n");
    write(".json", 3)->finish();
    EXPECT_EQ(parser.load(file(".json").string())["features"].get_array().size(), 12U);
}

TEST_F(Output, ThreadsAppendTheSame) {
    for (const std::string ending : {".csv", ".ndjson", ".geojson"}) {
        const auto writer = write(ending, 0);
        const ResultTable table = tableOf(kLayout, std::begin(kSamples), std::end(kSamples));
        Texts texts(4);
        std::vector<std::thread> threads;
        for (std::string& text : texts) {
            threads.emplace_back([&] {
                for (std::size_t row = 0; row < table.size(); ++row) {
                    writer->renderer()->append(text, table, row);
                }
            });
        }
        for (std::size_t i = 0; i < texts.size(); ++i) {
            threads[i].join();
            writer->write({tableOf(kLayout, nullptr, nullptr), texts[i], table.size()});
        }
        writer->finish();
        const std::string parallel = contents(file(ending));
        write(ending, 4)->finish();
        EXPECT_EQ(contents(file(ending)), parallel) << ending;
    }
}

TEST_F(Output, RefusesWhatItCannotWrite) {
    fs::create_directory(file(".csv"));
    const std::string missing = folder / "none" / "out";
    const struct {
        OutputOptions options;
        ExitCode code;
        const char* words;
    } cases[] = {
        {{file(".csv")}, ExitCode::broken, "Is a directory"},
        {{missing + ".csv"}, ExitCode::broken, "none: No such file or directory"},
        {{missing + ".gpkg"}, ExitCode::broken, "none: No such file or directory"},
        {{"/dev/full"}, ExitCode::broken, "/dev/full: No space left on device"},
        {{"/dev/full", OutputFormat::ndjson}, ExitCode::broken, "No space left on device"},
        {{"/dev/full", OutputFormat::geojson}, ExitCode::broken, "No space left on device"},
        {{"/dev/full", OutputFormat::html}, ExitCode::broken, "No space left on device"},
        {{file(".xyz")}, ExitCode::usage, ".csv .ndjson .jsonl .geojson .json .gpkg .fgb .html"},
        {{file(".gpkg"), OutputFormat::byName, false, "https://a.org/{z}/{x}/{y}"},
         ExitCode::usage,
         "--tiles is for a page"},
        {{file(".html"), OutputFormat::byName, false, "https://a.org' *; /{z}/{x}/{y}"},
         ExitCode::usage,
         "want an address"},
        {{"-", OutputFormat::geopackage}, ExitCode::usage, "standard output"},
        {{"/dev/null", OutputFormat::flatgeobuf}, ExitCode::usage, "/dev/null"}};
    for (const auto& [options, code, words] : cases) {
        try {
            const auto writer = openResultWriter(options, kLayout.schema());
            writeSamples(*writer, kLayout);
            writer->finish();
            ADD_FAILURE() << options.file;
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.code(), code);
            EXPECT_NE(std::string(failure.what()).find(words), std::string::npos) << failure.what();
        }
        EXPECT_EQ(fileCount(), 1);
    }
}

TEST_F(Output, OldFileStaysUntilTheNewOneIsComplete) {
    const auto modeOf = [](const fs::path& path) { return fs::status(path).permissions(); };
    constexpr fs::perms kOldMode{0604};
    constexpr uid_t kSomebody = 12345;
    const bool isRoot = geteuid() == 0;
    for (const std::string ending : {".geojson", ".gpkg", ".fgb", ".html", ".csv"}) {
        fs::create_symlink("old", file(ending));
        write(ending, 1)->finish(); // in place of nothing
        const fs::path old = folder / "old";
        EXPECT_EQ(modeOf(old), fs::perms{0640}) << ending;
        std::ofstream(old) << "old";
        fs::permissions(old, kOldMode);
        EXPECT_EQ(chown(old.c_str(), kSomebody, kSomebody), isRoot ? 0 : -1);
        write(ending, 1000).reset();
        EXPECT_EQ(fileCount(), 2) << ending;
        auto writer = write(ending, 1000);
        const auto isPrivate = [&](const fs::directory_entry& each) {
            return each.is_symlink() || each.path() == old || modeOf(each) == fs::perms(0600);
        };
        EXPECT_TRUE(std::all_of(fs::directory_iterator(folder), {}, isPrivate)) << ending;
        const fs::path kept = writer->abandon();
        EXPECT_TRUE(ending == ".csv" || ending == ".html" || readMap(kept).size() == 4000U)
            << ending;
        EXPECT_EQ(modeOf(kept), kOldMode);
        EXPECT_EQ(contents(old), "old");
        write(ending, 1)->finish();
        struct stat now {};
        EXPECT_TRUE(fs::is_symlink(file(ending)) && stat(old.c_str(), &now) == 0);
        EXPECT_EQ(modeOf(old), kOldMode) << ending;
        EXPECT_TRUE(!isRoot || (now.st_uid == kSomebody && now.st_gid == kSomebody)) << ending;
        fs::remove(kept);
        fs::remove(old);
        fs::remove(file(ending));
    }
    if (isRoot) { // Then let one who may not give away what is the group's replace it.
        write(".csv", 1)->finish();
        fs::permissions(file(".csv"), fs::perms(0664));
        EXPECT_EQ(chown(file(".csv").c_str(), kSomebody, kSomebody), 0);
        EXPECT_EQ(chown(folder.c_str(), kSomebody, 0) + setgroups(0, nullptr) +
                      setresuid(kSomebody, kSomebody, 0),
                  0);
        write(".csv", 1)->finish();
        EXPECT_EQ(modeOf(file(".csv")), fs::perms(0644));
        fs::permissions(file(".csv"), fs::perms(0444));
        EXPECT_THROW(write(".csv", 1), Failure);
        EXPECT_EQ(setresuid(0, 0, 0), 0);
    }
}

TEST_F(Output, GeoPackageHoldsWhatGdalWouldWrite) {
    CPLSetConfigOption("OGR_CURRENT_DATE", "2012-12-18T11:53:30.250Z");
    std::mt19937_64 random(1);
    std::vector<Sample> samples(std::begin(kSamples), std::end(kSamples));
    for (int i = 0; i < 12345; ++i) {
        const auto time = static_cast<std::int64_t>(random() % 320000000000000) - 63000000000000;
        const SpaceBox cell(random(), random(), static_cast<std::uint32_t>(random() % 129));
        samples.push_back({std::to_string(i), time, 1.0 / i, i / 3.0, time, -time, cell, {}});
    }
    const ResultTable table = tableOf(kLayout, samples.data(), samples.data() + samples.size());
    const fs::path wanted = file(".wanted.gpkg");
    GDALAllRegister();
    GDALDatasetUniquePtr data(GetGDALDriverManager()->GetDriverByName("GPKG")->Create(
        wanted.c_str(), 0, 0, 0, GDT_Unknown, nullptr));
    OGRLayer* layer = addLayer(*data, "found", kLayout.schema(), nullptr);
    EXPECT_EQ(layer->StartTransaction(), OGRERR_NONE);
    {
        OgrRows rows(*layer, kLayout.schema());
        for (std::size_t row = 0; row < table.size(); ++row) {
            ASSERT_TRUE(rows.write(table, row));
        }
    }
    EXPECT_EQ(layer->CommitTransaction(), OGRERR_NONE);
    data.reset();
    const auto writer = openResultWriter({file(".gpkg")}, kLayout.schema());
    for (std::size_t next = 0; next < samples.size();) {
        const std::size_t from = next; // batches end anywhere
        next = std::min(samples.size(), next + 1 + random() % 999);
        writer->write(
            batchOf(*writer, tableOf(kLayout, samples.data() + from, samples.data() + next)));
    }
    writer->finish();
    CPLSetConfigOption("OGR_CURRENT_DATE", nullptr);

    const Texts names = valuesOf(wanted, "SELECT name FROM sqlite_schema WHERE type = 'table' AND "
                                         "name NOT GLOB 'rtree_*_*_*'");
    EXPECT_EQ(names.size(), 10U);
    Texts queries{"SELECT type, name, sql FROM sqlite_schema ORDER BY name"};
    for (const std::string& name : names) {
        queries.push_back("SELECT * FROM \"" + name.substr(2) + "\" ORDER BY 1");
    }
    for (const std::string& query : queries) {
        EXPECT_TRUE(valuesOf(file(".gpkg"), query) == valuesOf(wanted, query)) << query;
    }

    data.reset(GDALDataset::Open(file(".gpkg").c_str(), GDAL_OF_VECTOR));
    layer = data->GetLayer(0);
    std::vector<OGREnvelope> shapes;
    for (const auto& feature : *layer) {
        shapes.emplace_back();
        feature->GetGeometryRef()->getEnvelope(&shapes.back());
    }
    for (unsigned i = 0; i < 99; ++i) {
        OGREnvelope window;
        const auto [west, south, east, north] = cellBounds(SpaceBox(random(), 0, i % 20));
        layer->SetSpatialFilterRect(west, south, east, north);
        layer->GetSpatialFilter()->getEnvelope(&window);
        std::vector<GIntBig> found;
        for (const auto& feature : *layer) {
            found.push_back(feature->GetFID());
        }
        std::sort(found.begin(), found.end());
        std::vector<GIntBig> expected;
        for (std::size_t row = 0; row < shapes.size(); ++row) {
            if (shapes[row].Intersects(window)) {
                expected.push_back(static_cast<GIntBig>(row) + 1);
            }
        }
        EXPECT_EQ(found, expected) << west << ' ' << south << ' ' << east << ' ' << north;
    }
}

/// Numbers that floats can hold, so that nothing is found by rounding.
TEST_F(Output, SpatialIndexFindsWhatLookingAtAllFinds) {
    struct Item {
        std::int64_t id;
        CellBounds bounds;
    };
    std::mt19937 random(1);
    const auto number = [&](unsigned most) { return static_cast<double>(random() % most) / 8.0; };
    for (const std::size_t count : {0U, 1U, 51U, 52U, 2601U, 2602U, 2700U, 20000U}) {
        for (const std::size_t mostEntries : {60U, 2650U, 30000U}) {
            std::vector<Item> items(count);
            std::ofstream(file(".db")).close();
            SqliteDatabase database(file(".db"));
            database.run("CREATE VIRTUAL TABLE r USING rtree(id, minx, maxx, miny, maxy);"
                         "BEGIN");
            SpatialIndex index(database, "r", mostEntries);
            for (std::size_t i = 0; i < count; ++i) {
                const double west = number(2880) - 180.0;
                const double south = number(1440) - 90.0;
                items[i] = {static_cast<std::int64_t>(i * 3) - 5000,
                            {west, south, west + number(50), south + number(20)}};
                index.add(items[i].id, items[i].bounds);
            }
            index.finish();
            database.run("COMMIT");
            EXPECT_EQ(valuesOf(file(".db"), "SELECT rtreecheck('r')"), Texts{"3 ok"});
            for (int i = 0; i < 9; ++i) {
                const double x = number(2880) - 180.0;
                const double y = number(1440) - 90.0;
                Texts expected;
                for (const auto& [id, bounds] : items) {
                    if (bounds.west <= x + 9.0 && bounds.east >= x && bounds.south <= y + 9.0 &&
                        bounds.north >= y) {
                        expected.push_back("1 " + std::to_string(id));
                    }
                }
                const std::string window =
                    CPLSPrintf("minx <= %f AND maxx >= %f AND miny <= %f AND maxy >= %f", x + 9.0,
                               x, y + 9.0, y);
                EXPECT_EQ(
                    valuesOf(file(".db"), "SELECT id FROM r WHERE " + window + " ORDER BY id"),
                    expected)
                    << count << ' ' << mostEntries << ' ' << window;
            }
            EXPECT_EQ(valuesOf(file(".db"), "SELECT count(*) FROM r"),
                      Texts{"1 " + std::to_string(count)});
        }
    }
}

TEST_F(Output, DatabasesTellWhatIsWrong) {
    const auto wordsOf = [](const auto& work) -> std::string {
        try {
            work();
            return "";
        } catch (const SqliteError& error) {
            return error.what();
        }
    };
    EXPECT_EQ(wordsOf([&] { SqliteDatabase(file(".db")); }), "unable to open database file");
    std::ofstream(file(".db")).flush();
    SqliteDatabase database(file(".db"));
    database.run("CREATE TABLE t (x UNIQUE)");
    EXPECT_EQ(wordsOf([&] { SqliteStatement(database, "SELECT * FROM " + sqlName("a\"b")); }),
              "no such table: a\"b");
    SqliteStatement insert(database, "INSERT INTO t VALUES (?), (7) RETURNING x");
    insert.bind(1, std::int64_t{3});
    insert.run();
    EXPECT_EQ(wordsOf([&] { insert.run(); }), "UNIQUE constraint failed: t.x");
    EXPECT_EQ(wordsOf([&] { insert.bind(2, 1.0); }), "column index out of range");
    EXPECT_EQ(SqliteStatement(database, "SELECT sum(x) FROM t").number(), 10);
    EXPECT_EQ(SqliteStatement(database, "SELECT x FROM t WHERE x > 9").number(), 0);
}

/// The largest file that a process may write stands in for the room on a disk. What is kept is
/// whole: pieces of text, or transactions.
TEST_F(Output, FullDiskLeavesNothingThatLooksWhole) {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit before = limit;
    constexpr std::size_t kRows = 12000;
    std::unique_ptr<ResultWriter> writer;
    for (const std::string ending : {".csv", ".ndjson", ".geojson", ".gpkg", ".fgb", ".html"}) {
        const auto writeRows = [&] {
            writer = openResultWriter({file(ending)}, kLayout.schema());
            writeSamples(*writer, kLayout, kRows / std::size(kSamples));
            writer->finish();
        };
        writeRows();
        const std::string whole = contents(file(ending));
        fs::remove(file(ending));
        const bool isMap = ending == ".geojson" || ending == ".gpkg";
        const std::size_t half = whole.size() / 2; // is too little for the first commit
        std::vector<std::uintmax_t> rooms = {1000, half, whole.size() - 1, whole.size() - 5000,
                                             whole.size() / 8 * 7};
        for (std::size_t i = 0; i < rooms.size(); ++i) {
            const std::uintmax_t room = rooms[i];
            limit.rlim_cur = room;
            setrlimit(RLIMIT_FSIZE, &limit);
            EXPECT_THROW(writeRows(), Failure) << ending << ' ' << room;
            const fs::path kept = writer ? writer->abandon() : "";
            writer.reset();
            setrlimit(RLIMIT_FSIZE, &before);
            EXPECT_EQ(fileCount(), kept.empty() ? 0 : 1) << ending << ' ' << room;
            EXPECT_EQ(kept.empty(), room == 1000 || ending == ".fgb" || ending == ".html" ||
                                        (ending == ".gpkg" && (room == half || i == 5)))
                << ending << ' ' << room;
            if (!kept.empty()) {
                EXPECT_TRUE(isMap ? readMap(kept).size() >= kRows / 4
                                  : whole.starts_with(contents(kept)))
                    << ending << ' ' << room;
                if (ending == ".gpkg") {
                    EXPECT_EQ(valuesOf(kept, "PRAGMA integrity_check"), Texts{"3 ok"}) << room;
                    EXPECT_EQ(valuesOf(kept, "SELECT name FROM sqlite_schema WHERE name GLOB "
                                             "'rtree*' UNION SELECT column_name FROM "
                                             "gpkg_extensions"),
                              Texts())
                        << room;
                }
                if (i == 4) { // next, room for its pieces, but not for the end behind them
                    rooms.push_back(fs::file_size(kept) - 1);
                }
            }
            fs::remove(kept);
        }
    }
}

TEST(CellBounds, IsExactlyWhatTheCellCovers) {
    for (std::uint32_t depth = 0; depth <= 15; ++depth) {
        double area = 0.0;
        for (std::uint64_t bits = 0; bits < std::uint64_t{1} << depth; ++bits) {
            const SpaceBox cell(depth == 0 ? 0 : bits << (64 - depth), 0, depth);
            const auto [west, south, east, north] = cellBounds(cell);
            ASSERT_TRUE(SpaceBox(south, west, depth) == cell);
            ASSERT_TRUE(SpaceBox(north - 1e-9, east - 1e-9, depth) == cell);
            ASSERT_TRUE(east == 180.0 || cellBounds(SpaceBox(south, east, depth)).west == east);
            ASSERT_TRUE(north == 90.0 || cellBounds(SpaceBox(north, west, depth)).south == north);
            area += (east - west) * (north - south);
        }
        EXPECT_EQ(area, 360.0 * 180.0) << depth;
    }
}

TEST(CellBounds, HalvesDownToAPoint) {
    std::mt19937_64 random(1);
    SpaceBox cell(random(), random(), 0);
    for (CellBounds parent = cellBounds(cell); cell.getGeoHashBitDepth() < 128;) {
        cell.setGeoHashBitDepth(cell.getGeoHashBitDepth() + 1);
        const CellBounds b = cellBounds(cell);
        ASSERT_TRUE(b.west == parent.west || b.east == parent.east);
        ASSERT_TRUE(b.south == parent.south || b.north == parent.north);
        ASSERT_TRUE(b.west <= b.east && b.south <= b.north);
        parent = b;
    }
}

TEST(Progress, SaysHowFarItIs) {
    const struct {
        std::optional<double> share;
        std::uint64_t rows;
        double seconds;
        const char* text;
    } rows[] = {
        {std::nullopt, 1234567, 2.0, "reading 1.23 M rows, 617 k rows/s"},
        {0.0, 5000, 1.0, "reading [........................]   0 %, 0.01 M rows, 5 k rows/s"},
        {0.5, 2000000, 10.0,
         "reading [############............]  50 %, 2.00 M rows, 200 k rows/s, 0:10 left"},
        {0.25, 0, 1200.1,
         "reading [######..................]  25 %, 0.00 M rows, 0 k rows/s, "
         "1:00:01 left"},
        {1e-9, 0, 1.0,
         "reading [........................]   0 %, 0.00 M rows, 0 k rows/s, "
         "99:59:59 left"},
        {1.0, 0, 1.0,
         "reading [########################] 100 %, 0.00 M rows, 0 k rows/s, 0:00 left"}};
    for (const auto& [share, count, seconds, text] : rows) {
        EXPECT_EQ(progressText("reading", share, count, seconds), text);
    }
}
