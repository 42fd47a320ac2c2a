#include "program/gdal/sqliteFault.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <new>
#include <sqlite3.h>
#include <string_view>
#include <vector>

namespace program {

namespace {

/// SQLite's own text is normalised, so that nothing else passes, whatever its type claims to be.
constexpr char kNoTable[] =
    "SELECT name FROM sqlite_schema WHERE NOT coalesce("
    "sql GLOB 'CREATE TABLE *' OR sql GLOB 'CREATE VIRTUAL TABLE *' OR sql GLOB 'CREATE INDEX *' "
    "OR sql GLOB 'CREATE UNIQUE INDEX *' OR sql GLOB 'CREATE TRIGGER *', 1)";
constexpr char kComputed[] = "SELECT t.name FROM pragma_table_list t, pragma_table_xinfo(t.name) c "
                             "WHERE t.type = 'table' AND c.hidden IN (2, 3)";
constexpr char kVirtual[] = "SELECT name FROM pragma_table_list WHERE type = 'virtual'";

/// What SpatiaLite adds that keeps to the file.
constexpr std::string_view kHarmlessModules[] = {"VirtualSpatialIndex", "VirtualElementary",
                                                 "VirtualKNN", "VirtualKNN2"};

/// A connection that has nothing but what SQLite itself brings, and does not believe the file.
class Database {
public:
    explicit Database(const std::string& file) {
        sqlite3* opened = nullptr;
        // Immutable: neither locks nor journals.
        const int result = sqlite3_open_v2(("file:" + file + "?immutable=1").c_str(), &opened,
                                           SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr);
        handle_.reset(opened);
        if (!handle_) {
            throw std::bad_alloc();
        }
        if (result == SQLITE_OK) {
            sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
            sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
        }
    }

    /// The first column; the first thing that goes wrong is kept for fault().
    std::vector<std::string> texts(const std::string& query) {
        std::vector<std::string> found;
        const auto statement = prepare(query);
        int result = statement ? sqlite3_step(statement.get()) : SQLITE_ERROR;
        for (; result == SQLITE_ROW; result = sqlite3_step(statement.get())) {
            const auto* text = sqlite3_column_text(statement.get(), 0);
            found.emplace_back(text != nullptr ? reinterpret_cast<const char*>(text) : "");
        }
        if (result != SQLITE_DONE && fault_.empty()) {
            fault_ = sqlite3_errmsg(handle_.get());
        }
        return found;
    }

    /// The module of a virtual table that SQLite itself does not bring; else empty.
    std::string strangeModule(const std::string& table) {
        constexpr std::string_view kNoModule = "no such module: ";
        std::string name = table;
        for (std::size_t at = 0; (at = name.find('"', at)) != std::string::npos; at += 2) {
            name.insert(at, 1, '"');
        }
        if (prepare("SELECT 1 FROM \"" + name + '"')) {
            return {};
        }
        const std::string_view said = sqlite3_errmsg(handle_.get());
        return std::string(said.substr(said.starts_with(kNoModule) ? kNoModule.size() : 0));
    }

    const std::string& fault() const { return fault_; }

private:
    struct Closing {
        void operator()(sqlite3* handle) const { sqlite3_close_v2(handle); }
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };

    std::unique_ptr<sqlite3_stmt, Closing> prepare(const std::string& query) {
        sqlite3_stmt* statement = nullptr;
        sqlite3_prepare_v2(handle_.get(), query.c_str(), -1, &statement, nullptr);
        return std::unique_ptr<sqlite3_stmt, Closing>(statement);
    }

    std::unique_ptr<sqlite3, Closing> handle_;
    std::string fault_;
};

bool holdsBytes(const std::string& file) {
    std::error_code none;
    const auto size = std::filesystem::file_size(file, none);
    return !none && size > 0;
}

std::string quoted(const std::string& name) {
    return '"' + name + '"';
}

std::string journalFault(const std::string& file) {
    for (const char* ending : {"-wal", "-journal"}) {
        if (holdsBytes(file + ending)) {
            return file + ending +
                   " holds changes that are not in it yet: end the program that "
                   "writes it, or open and close it there";
        }
    }
    return {};
}

std::string queryFault(Database& database) {
    for (const char* query : {kNoTable, kComputed}) {
        const std::vector<std::string> names = database.texts(query);
        if (!names.empty()) {
            return "it does not hold all of its values but computes some by queries of its own, "
                   "as in " +
                   quoted(names.front()) + "; if you trust it, name its driver with --gdal-driver";
        }
    }
    return {};
}

std::string moduleFault(Database& database, bool isTrusted) {
    for (const std::string& table : database.texts(kVirtual)) {
        const std::string module = database.strangeModule(table);
        const bool isHarmless =
            isTrusted && std::find(std::begin(kHarmlessModules), std::end(kHarmlessModules),
                                   module) != std::end(kHarmlessModules);
        if (!module.empty() && !isHarmless) {
            return "its table " + quoted(table) +
                   " is a virtual one that may take its rows from "
                   "elsewhere (" +
                   module + "): drop it, or copy what you want into another file";
        }
    }
    return {};
}

} // namespace

std::string sqliteFault(const std::string& file, bool isTrusted) {
    if (file.find('%') != std::string::npos) { // GDAL's SQLite would open another file
        return "SQLite takes a % in a path for something else: rename it";
    }
    std::string fault = journalFault(file);
    if (!fault.empty()) {
        return fault;
    }
    std::string escaped;
    for (const char c : file) {
        escaped += c == '?' ? "%3f" : c == '#' ? "%23" : std::string(1, c);
    }
    Database database(escaped);
    fault = isTrusted ? "" : queryFault(database);
    if (fault.empty()) {
        fault = moduleFault(database, isTrusted);
    }
    return !fault.empty() || database.fault().empty()
               ? fault
               : "SQLite cannot read it: " + database.fault();
}

} // namespace program
