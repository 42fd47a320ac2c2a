#include "program/gdal/SqliteDatabase.h"

#include <sqlite3.h>

namespace program {

SqliteDatabase::SqliteDatabase(const std::string& file) {
    sqlite3* opened = nullptr;
    const int result = sqlite3_open_v2(file.c_str(), &opened,
                                       SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    handle_.reset(opened);
    if (result != SQLITE_OK) {
        throw SqliteError(sqlite3_errstr(result));
    }
    sqlite3_db_config(opened, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 0, nullptr);
}

void SqliteDatabase::run(const std::string& statements) {
    if (sqlite3_exec(handle_.get(), statements.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        throw SqliteError(sqlite3_errmsg(handle_.get()));
    }
}

void SqliteDatabase::Closing::operator()(sqlite3* handle) const {
    sqlite3_close_v2(handle);
}

SqliteStatement::SqliteStatement(const SqliteDatabase& database, const std::string& text) {
    sqlite3_stmt* prepared = nullptr;
    const int result = sqlite3_prepare_v3(database.handle_.get(), text.c_str(), -1,
                                          SQLITE_PREPARE_PERSISTENT, &prepared, nullptr);
    handle_.reset(prepared);
    if (result != SQLITE_OK) {
        throw SqliteError(sqlite3_errmsg(database.handle_.get()));
    }
}

void SqliteStatement::bindNull(int parameter) {
    expect(sqlite3_bind_null(handle_.get(), parameter) == SQLITE_OK);
}

void SqliteStatement::bind(int parameter, std::int64_t value) {
    expect(sqlite3_bind_int64(handle_.get(), parameter, value) == SQLITE_OK);
}

void SqliteStatement::bind(int parameter, double value) {
    expect(sqlite3_bind_double(handle_.get(), parameter, value) == SQLITE_OK);
}

/// A null pointer, as an empty text may have, would be null.
void SqliteStatement::bindText(int parameter, std::string_view text) {
    expect(sqlite3_bind_text64(handle_.get(), parameter, text.empty() ? "" : text.data(),
                               text.size(), SQLITE_STATIC, SQLITE_UTF8) == SQLITE_OK);
}

void SqliteStatement::bindBlob(int parameter, std::string_view bytes) {
    expect(sqlite3_bind_blob64(handle_.get(), parameter, bytes.data(), bytes.size(),
                               SQLITE_STATIC) == SQLITE_OK);
}

void SqliteStatement::run() {
    while (sqlite3_step(handle_.get()) == SQLITE_ROW) {
    }
    expect(sqlite3_reset(handle_.get()) == SQLITE_OK);
}

std::int64_t SqliteStatement::number() {
    const bool isThere = sqlite3_step(handle_.get()) == SQLITE_ROW;
    const std::int64_t value = isThere ? sqlite3_column_int64(handle_.get(), 0) : 0;
    expect(sqlite3_reset(handle_.get()) == SQLITE_OK);
    return value;
}

void SqliteStatement::expect(bool holds) const {
    if (!holds) {
        throw SqliteError(sqlite3_errmsg(sqlite3_db_handle(handle_.get())));
    }
}

void SqliteStatement::Closing::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

std::string sqlName(std::string_view name) {
    std::string quoted(1, '"');
    for (const char c : name) {
        quoted.append(c == '"' ? 2 : 1, c);
    }
    return quoted + '"';
}

} // namespace program
