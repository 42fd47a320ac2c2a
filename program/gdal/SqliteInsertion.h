#ifndef QORVEL_PROGRAM_GDAL_SQLITEINSERTION_H
#define QORVEL_PROGRAM_GDAL_SQLITEINSERTION_H

#include "program/gdal/SqliteDatabase.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace program {

/// Puts rows into a table of SQLite's, fifty with each statement, which takes half the time of one
/// with each. What fails throws SqliteError.
class SqliteInsertion {
public:
    static constexpr std::size_t kMostRows = 50;

    /// The database must outlive it.
    SqliteInsertion(const SqliteDatabase& database, const std::string& table,
                    std::vector<std::string> columns);

    /// The next value, column by column and row by row.
    void putNull() { next().kind = Kind::null; }
    void put(std::int64_t value);
    void put(double value);
    /// The same, to be filled before the next call.
    std::string& putText() { return putBytes(Kind::text); }
    std::string& putBlob() { return putBytes(Kind::blob); }

    /// Behind the last value of a row: has rows written when there are enough of them.
    void endRow();

    /// Writes those that are left.
    void flush();

private:
    enum class Kind : std::uint8_t { null, whole, real, text, blob };

    struct Value {
        Kind kind = Kind::null;
        std::int64_t whole = 0;
        double real = 0.0;
        std::string bytes; ///< its memory is used again
    };

    Value& next() { return values_[count_++]; }
    std::string& putBytes(Kind kind);
    SqliteStatement statementFor(std::size_t rows) const;
    void write(SqliteStatement& statement);

    const SqliteDatabase& database_;
    std::string table_;
    std::vector<std::string> columns_;
    std::vector<Value> values_;
    std::size_t count_ = 0; ///< of values that are there
    SqliteStatement many_;
};

} // namespace program

#endif
