#ifndef QORVEL_ENGINE_COLUMNS_RESULTTABLE_H
#define QORVEL_ENGINE_COLUMNS_RESULTTABLE_H

#include "engine/columns/AlignedVector.h"
#include "engine/columns/EntityNames.h"
#include "engine/columns/ResultSchema.h"
#include "engine/columns/Values.h"
#include "engine/export.h"

#include "qorvel/geohash/SpaceBox.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace qorvel_engine {

namespace detail {
class TableExporter;
}

/// A cell as the numbers that a SpaceBox has.
struct CellBits {
    std::uint64_t first;  ///< bits 1 to 64, those beyond the depth included
    std::uint64_t second; ///< bits 65 to 128
    std::uint32_t depth;
};

/// Results, column by column; beside each row the cell that is its shape on a map, if it has one.
/// Rows are appended by a ResultLayout, which also says what the columns are.
///
/// Entities are kept as numbers. What they are called is asked of the names when it is wanted; a
/// table keeps the names alive.
///
/// The functions that read a value throw the Fault `misuse` for a row or a column that there is
/// not, and where the column's kind is not theirs.
class QORVEL_ENGINE_EXPORT ResultTable {
public:
    /// An empty table; neither pointer is null, else Fault `misuse`.
    ResultTable(std::shared_ptr<const ResultSchema> schema,
                std::shared_ptr<const EntityNames> names);
    /// What was moved from can be destroyed and assigned to.
    ResultTable(ResultTable&&) noexcept;
    ResultTable& operator=(ResultTable&&) noexcept;
    ~ResultTable();

    /// What the columns are.
    const ResultSchema& schema() const noexcept { return *schema_; }
    /// What entities are called.
    const EntityNames& names() const noexcept { return *names_; }
    /// How many rows there are.
    std::size_t size() const noexcept { return size_; }

    /// Appends what a result has, by `Result::layout()`. If that fails, the table is as before.
    template <class Result>
    void append(const Result& result) {
        Result::layout().append(result, *this);
    }

    /// Asks for memory for so many rows at once, but for that of texts. Throws std::bad_alloc.
    void reserve(std::size_t rows);

    /// Takes all rows out; memory is kept for the next.
    void clear() noexcept;

    /// Is the value missing? Only columns that say so have such.
    bool isNull(std::size_t row, std::size_t column) const {
        const Column& values = columnOf(row, column, ResultKind::entity, ResultKind::boxEnd);
        return schema_->columns[column].isNullable &&
               !Validity{values.validity.data(), 0}.has(static_cast<std::int64_t>(row));
    }
    /// The number of an entity.
    std::uint64_t entity(std::size_t row, std::size_t column) const {
        return static_cast<std::uint64_t>(
            columnOf(row, column, ResultKind::entity, ResultKind::entity).wholes[row]);
    }
    /// A text; empty where it is missing. It stays until the table is changed.
    std::string_view text(std::size_t row, std::size_t column) const {
        const Column& values = columnOf(row, column, ResultKind::text, ResultKind::text);
        const auto endOf = [&values](std::size_t which) {
            return static_cast<std::size_t>(values.wholes[which]);
        };
        const std::size_t begin = row == 0 ? 0 : endOf(row - 1);
        return {values.bytes.data() + begin, endOf(row) - begin};
    }
    /// An integer, or a time in ms since 1970 UTC; 0 where it is missing.
    std::int64_t whole(std::size_t row, std::size_t column) const {
        return columnOf(row, column, ResultKind::whole, ResultKind::boxEnd).wholes[row];
    }
    /// Degrees, metres or hours; 0 where it is missing.
    double real(std::size_t row, std::size_t column) const {
        return columnOf(row, column, ResultKind::degrees, ResultKind::hours).reals[row];
    }

    /// The cell of a row; nothing for results that have none.
    std::optional<qorvel::SpaceBox> cell(std::size_t row) const {
        expect(row < size_, kNoSuch);
        if (cells_.empty()) {
            return std::nullopt;
        }
        const CellBits& bits = cells_[row];
        return qorvel::SpaceBox(bits.first, bits.second, bits.depth);
    }

private:
    friend class RowAppender;
    friend class RowsAppender;
    friend class detail::TableExporter;

    /// A column; which of the vectors it uses follows from its kind.
    struct Column {
        AlignedVector<std::int64_t> wholes; ///< numbers of entities too; of texts where they end
        AlignedVector<double> reals;
        AlignedVector<char> bytes;            ///< of texts
        AlignedVector<std::uint8_t> validity; ///< a bit a row, where the column is nullable
    };

    /// The column, if there is such a value and its kind is from the first to the last.
    const Column& columnOf(std::size_t row, std::size_t column, ResultKind first,
                           ResultKind last) const {
        expect(row < size_ && column < columns_.size(), kNoSuch);
        const ResultKind kind = schema_->columns[column].kind;
        expect(first <= kind && kind <= last, "The column is of another kind.");
        return columns_[column];
    }

    static constexpr char kNoSuch[] = "The table has no such row or column.";
    static void expect(bool holds, const char* otherwise) {
        if (!holds) {
            refuse(otherwise);
        }
    }
    [[noreturn]] static void refuse(const char* why);

    void truncate() noexcept;

    std::shared_ptr<const ResultSchema> schema_;
    std::shared_ptr<const EntityNames> names_;
    std::vector<Column> columns_;
    std::vector<CellBits> cells_; ///< one a row, or none at all
    std::size_t size_ = 0;
};

/// Appends the values of one row, column by column. A row that is not finished leaves nothing
/// behind. For ResultLayout, which knows which column is next.
class QORVEL_ENGINE_EXPORT RowAppender {
public:
    /// Throws the Fault `misuse` unless the table is of this schema.
    RowAppender(ResultTable& table, const ResultSchema& schema);
    RowAppender(const RowAppender&) = delete;
    RowAppender& operator=(const RowAppender&) = delete;
    ~RowAppender();

    /// The next column's value. They throw std::bad_alloc only.
    void whole(std::int64_t value);
    void real(double value);
    void text(std::string_view value);
    /// The same for a column that is nullable: whether there is a value. To be called before it.
    void isPresent(bool present);

    /// The next four columns: the cell's text, its bits, and its centre, latitude first.
    void cell(const qorvel::SpaceBox& cell);
    /// The cell that is the row's shape: of every row of a layout, or of none.
    void shape(const qorvel::SpaceBox& cell);

    /// The row is complete.
    void finish();

private:
    ResultTable& table_;
    std::size_t next_ = 0; ///< column
    bool isFinished_ = false;
};

/// The same for many rows at once: each call appends the values of a column for all of them. For
/// ResultLayout.
class QORVEL_ENGINE_EXPORT RowsAppender {
public:
    /// As RowAppender.
    RowsAppender(ResultTable& table, const ResultSchema& schema, std::size_t count);
    RowsAppender(const RowsAppender&) = delete;
    RowsAppender& operator=(const RowsAppender&) = delete;
    ~RowsAppender();

    /// The next column's values: what a function says of each row, by its number from 0 on.
    template <class ValueOf>
    void wholes(const ValueOf& valueOf) {
        fill(table_.columns_[next_++].wholes, valueOf);
    }

    /// The next four columns and the shapes, as RowAppender::cell: of each row what a function says
    /// of it, CellBits.
    template <class CellOf>
    void cells(const CellOf& cellOf) {
        std::vector<CellBits> cells(count_);
        for (std::size_t row = 0; row < count_; ++row) {
            cells[row] = cellOf(row);
        }
        tellCells(cells);
    }

    /// The rows are complete.
    void finish();

private:
    template <class Column, class ValueOf>
    void fill(Column& column, const ValueOf& valueOf) {
        const std::size_t first = column.size();
        column.resize(first + count_);
        for (std::size_t row = 0; row < count_; ++row) {
            column[first + row] = valueOf(row);
        }
    }
    void tellCells(const std::vector<CellBits>& cells);
    void appendTexts(const std::vector<CellBits>& cells);

    ResultTable& table_;
    std::size_t count_;
    std::size_t next_ = 0; ///< column
    bool isFinished_ = false;
};

} // namespace qorvel_engine

#endif
