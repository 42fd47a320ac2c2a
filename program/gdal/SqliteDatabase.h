#ifndef QORVEL_PROGRAM_GDAL_SQLITEDATABASE_H
#define QORVEL_PROGRAM_GDAL_SQLITEDATABASE_H

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace program {

/// SQLite's words for what went wrong.
class SqliteError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A file that is being filled, of which nobody else knows yet: its triggers do not run, and tables
/// of SQLite's own modules may be written directly. What fails throws SqliteError.
class SqliteDatabase {
public:
    /// Opens a file that is there.
    explicit SqliteDatabase(const std::string& file);

    /// Runs statements without parameters, whose rows are dropped.
    void run(const std::string& statements);

private:
    friend class SqliteStatement;

    struct Closing {
        void operator()(sqlite3* handle) const;
    };

    std::unique_ptr<sqlite3, Closing> handle_;
};

/// A statement, prepared once and run many times. Parameters are counted from 1 and keep their
/// values; texts and blobs have to stay where they are until it has run.
class SqliteStatement {
public:
    SqliteStatement(const SqliteDatabase& database, const std::string& text);

    void bindNull(int parameter);
    void bind(int parameter, std::int64_t value);
    void bind(int parameter, double value);
    void bindText(int parameter, std::string_view text);
    void bindBlob(int parameter, std::string_view bytes);

    /// Runs it, down to its last row.
    void run();

    /// Runs it for the first value of its first row; 0 without one.
    std::int64_t number();

private:
    struct Closing {
        void operator()(sqlite3_stmt* statement) const;
    };

    void expect(bool holds) const;

    std::unique_ptr<sqlite3_stmt, Closing> handle_;
};

/// A name as it stands in statements.
std::string sqlName(std::string_view name);

} // namespace program

#endif
