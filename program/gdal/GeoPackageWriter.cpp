#include "program/gdal/GeoPackageWriter.h"

#include "program/gdal/GdalErrors.h"
#include "program/gdal/OgrRows.h"
#include "program/output/valueText.h"
#include "program/output/writeFailure.h"

#include <algorithm>
#include <bit>
#include <cpl_conv.h>
#include <cpl_string.h>
#include <ogrsf_frmts.h>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace program {

namespace {

/// Commits cost, and what is not committed is lost when the disk fills up.
constexpr std::int64_t kRowsPerTransaction = 10000;
static_assert(kRowsPerTransaction % SqliteInsertion::kMostRows == 0);

constexpr char kShapeColumn[] = "geom";

/// The standard's versions have some of these.
constexpr int kMostUpdateTriggers = 7;

constexpr std::int32_t kWgs84 = 4326;

std::string indexName(const ResultSchema& schema) {
    return "rtree_" + schema.name + '_' + kShapeColumn;
}

/// Rows number themselves, from 1 on.
std::vector<std::string> columnsOf(const ResultSchema& schema) {
    std::vector<std::string> columns{kShapeColumn};
    for (const ResultColumn& column : schema.columns) {
        columns.push_back(column.name);
    }
    return columns;
}

/// Opened before anything is prepared for it.
SqliteDatabase openedFor(const std::string& file) {
    SqliteDatabase database(file);
    // The file counts only when it is complete, and then PartialFile has it on the disk. (Without
    // any journal, or one in memory, nothing could be read after a commit that failed.)
    database.run("PRAGMA synchronous = OFF; PRAGMA journal_mode = DELETE; "
                 "PRAGMA temp_store = MEMORY; PRAGMA secure_delete = OFF");
    return database;
}

/// As they stand in memory.
template <typename... Values>
void append(std::string& bytes, const Values&... values) {
    (bytes.append(reinterpret_cast<const char*>(&values), sizeof values), ...);
}

} // namespace

GeoPackageWriter::Tables::Tables(const std::string& file, const ResultSchema& schema)
    : database(openedFor(file)), index(database, indexName(schema)),
      rows(database, schema.name, columnsOf(schema)),
      noteCount(database, "UPDATE gpkg_ogr_contents SET feature_count = ?"),
      noteBounds(database, "UPDATE gpkg_contents SET min_x = ?, min_y = ?, max_x = ?, max_y = ?") {}

GeoPackageWriter::GeoPackageWriter(const std::string& file, const std::string& extension,
                                   const ResultSchema& schema)
    : name_(file), schema_(schema), file_(file, extension) {
    makeEmpty();
    guard([this] {
        tables_.emplace(file_.path(), schema_);
        // Until the index is complete, nobody is to look into it.
        const std::string found = " FROM gpkg_extensions WHERE extension_name = 'gpkg_rtree_index'";
        tables_->database.run("CREATE TEMP TABLE registered AS SELECT *" + found + "; DELETE" +
                              found + "; BEGIN");
    });
}

GeoPackageWriter::~GeoPackageWriter() = default;

/// GDAL takes no file that is there already, not even an empty one.
void GeoPackageWriter::makeEmpty() const {
    const GdalErrors errors;
    RegisterOGRGeoPackage();
    const CPLConfigOptionSetter synchronous("OGR_SQLITE_SYNCHRONOUS", "OFF", false);
    CPLStringList options;
    options.SetNameValue("GEOMETRY_NAME", kShapeColumn);
    unlink(file_.path().c_str());
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GPKG");
    GDALDatasetUniquePtr dataset(
        driver->Create(file_.path().c_str(), 0, 0, 0, GDT_Unknown, nullptr));
    const bool isMade =
        dataset && addLayer(*dataset, schema_.name, schema_, options.List()) != nullptr;
    dataset.reset();
    if (!isMade || !errors.first().empty()) {
        throw libraryFailure(name_, errors.first());
    }
}

void GeoPackageWriter::write(const ResultBatch& results) {
    guard([&] {
        for (std::size_t row = 0; row < results.table.size(); ++row) {
            writeRow(results.table, row);
        }
    });
}

void GeoPackageWriter::finish() {
    guard([this] { complete(); });
    if (!isReadable(file_.path(), count_, count_)) {
        throw libraryFailure(name_, "");
    }
    file_.complete();
}

std::string GeoPackageWriter::abandon() noexcept {
    try {
        try {
            guard([this] { complete(); });
        } catch (const Failure&) {
        }
        if (!isIndexed_) {
            leaveOutIndex();
        }
        const bool isWorthIt = committed_ > 0 || count_ == 0;
        return isWorthIt && isReadable(file_.path(), committed_, committed_) ? file_.keep()
                                                                             : std::string();
    } catch (const std::exception&) {
        return {};
    }
}

/// What fails breaks the tables: closed, they fall back to what was committed.
template <typename Work>
void GeoPackageWriter::guard(const Work& work) {
    try {
        work();
    } catch (const SqliteError& error) {
        tables_.reset();
        throw libraryFailure(name_, error.what());
    }
}

void GeoPackageWriter::writeRow(const ResultTable& table, std::size_t row) {
    ++count_;
    putShape(table.cell(row));
    for (std::size_t column = 0; column < schema_.columns.size(); ++column) {
        putField(table, row, column);
    }
    tables_->rows.endRow();
    if (count_ - committed_ == kRowsPerTransaction) {
        commit();
        tables_->database.run("BEGIN");
    }
}

void GeoPackageWriter::widen(const CellBounds& bounds) {
    if (!bounds_) {
        bounds_ = bounds;
    }
    bounds_->west = std::min(bounds_->west, bounds.west);
    bounds_->south = std::min(bounds_->south, bounds.south);
    bounds_->east = std::max(bounds_->east, bounds.east);
    bounds_->north = std::max(bounds_->north, bounds.north);
}

void GeoPackageWriter::commit() {
    tables_->rows.flush();
    tables_->noteCount.bind(1, count_);
    tables_->noteCount.run();
    if (bounds_) {
        int parameter = 0;
        for (const double bound : {bounds_->west, bounds_->south, bounds_->east, bounds_->north}) {
            tables_->noteBounds.bind(++parameter, bound);
        }
        tables_->noteBounds.run();
    }
    tables_->database.run("COMMIT");
    committed_ = count_;
}

/// The index comes last of all, and with it its entry among the extensions.
void GeoPackageWriter::complete() {
    if (!tables_) {
        return;
    }
    tables_->index.finish();
    tables_->database.run("INSERT INTO gpkg_extensions SELECT * FROM registered");
    commit();
    tables_.reset();
    isIndexed_ = true;
}

/// What is there of an index would be wrong, and in the way of a new one.
void GeoPackageWriter::leaveOutIndex() const {
    try {
        SqliteDatabase database = openedFor(file_.path());
        database.run("BEGIN");
        const std::string index = indexName(schema_);
        std::vector<std::string> triggers{"_insert", "_delete"};
        for (int i = 1; i <= kMostUpdateTriggers; ++i) {
            triggers.push_back("_update" + std::to_string(i));
        }
        for (const std::string& trigger : triggers) {
            database.run("DROP TRIGGER IF EXISTS " + sqlName(index + trigger));
        }
        database.run("DROP TABLE " + sqlName(index) + "; COMMIT");
    } catch (const SqliteError&) {
        // There is no room even for that, but nobody looks at what is not registered.
    }
}

void GeoPackageWriter::putField(const ResultTable& table, std::size_t row, std::size_t column) {
    SqliteInsertion& to = tables_->rows;
    const ResultKind kind = schema_.columns[column].kind;
    if (isMissing(table, row, column)) {
        to.putNull();
    } else if (isText(kind)) {
        to.putText() = fieldText(textOf(table, row, column));
    } else if (isTime(kind)) {
        putTime(table.whole(row, column));
    } else if (kind == ResultKind::whole) {
        to.put(table.whole(row, column));
    } else {
        to.put(table.real(row, column));
    }
}

/// GeoPackages have milliseconds always, and no years with a sign.
void GeoPackageWriter::putTime(std::int64_t time) {
    constexpr std::string_view kWithoutMs = "2012-12-18T11:53:30Z";
    time_.clear();
    appendTime(time_, time);
    if (time_.front() == '+' || time_.front() == '-') {
        tables_->rows.putNull();
        return;
    }
    if (time_.size() == kWithoutMs.size()) {
        time_.insert(time_.size() - 1, ".000");
    }
    tables_->rows.putText() = time_;
}

/// A header with the bounds, and a polygon of one closed ring, counter-clockwise.
void GeoPackageWriter::putShape(const std::optional<SpaceBox>& cell) {
    constexpr std::uint32_t kPolygon = 3;
    constexpr std::uint32_t kRings = 1;
    constexpr std::uint32_t kPoints = 5;
    constexpr std::uint8_t kByteOrder = std::endian::native == std::endian::little ? 1 : 0;
    constexpr std::uint8_t kHasBounds = 1 << 1;
    constexpr std::uint8_t kVersion = 0;
    if (!cell) {
        tables_->rows.putNull();
        return;
    }
    const CellBounds bounds = cellBounds(*cell);
    const auto& [west, south, east, north] = bounds;
    std::string& shape = tables_->rows.putBlob() = "GP";
    append(shape, kVersion, static_cast<std::uint8_t>(kHasBounds | kByteOrder), kWgs84, west, east,
           south, north);
    append(shape, kByteOrder, kPolygon, kRings, kPoints);
    append(shape, west, south, east, south, east, north, west, north, west, south);
    tables_->index.add(count_, bounds);
    widen(bounds);
}

} // namespace program
