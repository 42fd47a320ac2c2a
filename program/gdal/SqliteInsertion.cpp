#include "program/gdal/SqliteInsertion.h"

#include <utility>

namespace program {

SqliteInsertion::SqliteInsertion(const SqliteDatabase& database, const std::string& table,
                                 std::vector<std::string> columns)
    : database_(database), table_(table), columns_(std::move(columns)),
      values_(columns_.size() * kMostRows), many_(statementFor(kMostRows)) {}

void SqliteInsertion::put(std::int64_t value) {
    Value& here = next();
    here.kind = Kind::whole;
    here.whole = value;
}

void SqliteInsertion::put(double value) {
    Value& here = next();
    here.kind = Kind::real;
    here.real = value;
}

std::string& SqliteInsertion::putBytes(Kind kind) {
    Value& here = next();
    here.kind = kind;
    here.bytes.clear();
    return here.bytes;
}

void SqliteInsertion::endRow() {
    if (count_ == values_.size()) {
        write(many_);
    }
}

void SqliteInsertion::flush() {
    if (count_ > 0) {
        SqliteStatement rest = statementFor(count_ / columns_.size());
        write(rest);
    }
}

SqliteStatement SqliteInsertion::statementFor(std::size_t rows) const {
    std::string names;
    std::string row;
    for (const std::string& column : columns_) {
        names += (names.empty() ? "" : ", ") + sqlName(column);
        row += row.empty() ? "(?" : ", ?";
    }
    std::string text = "INSERT INTO " + sqlName(table_) + " (" + names + ") VALUES " + row + ')';
    for (std::size_t i = 1; i < rows; ++i) {
        text += ", " + row + ')';
    }
    return {database_, text};
}

void SqliteInsertion::write(SqliteStatement& statement) {
    for (std::size_t i = 0; i < count_; ++i) {
        const Value& value = values_[i];
        const int parameter = static_cast<int>(i) + 1;
        switch (value.kind) {
        case Kind::null:
            statement.bindNull(parameter);
            break;
        case Kind::whole:
            statement.bind(parameter, value.whole);
            break;
        case Kind::real:
            statement.bind(parameter, value.real);
            break;
        case Kind::text:
            statement.bindText(parameter, value.bytes);
            break;
        case Kind::blob:
            statement.bindBlob(parameter, value.bytes);
            break;
        }
    }
    statement.run();
    count_ = 0;
}

} // namespace program
