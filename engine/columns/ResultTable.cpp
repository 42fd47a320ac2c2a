#include "engine/columns/ResultTable.h"

#include "engine/columns/Fault.h"
#include "engine/columns/Values.h"

#include "qorvel/facade/QorvelMotionProcessorAPI.h"

#include <algorithm>
#include <utility>

namespace qorvel_engine {

namespace {

void expect(bool holds, const char* otherwise) {
    if (!holds) {
        throw Fault(FaultCode::misuse, otherwise);
    }
}

} // namespace

ResultTable::ResultTable(std::shared_ptr<const ResultSchema> schema,
                         std::shared_ptr<const EntityNames> names)
    : schema_(std::move(schema)), names_(std::move(names)) {
    expect(schema_ != nullptr && names_ != nullptr, "A table of results needs a schema and names.");
    columns_.resize(schema_->columns.size());
}

ResultTable::ResultTable(ResultTable&&) noexcept = default;
ResultTable& ResultTable::operator=(ResultTable&&) noexcept = default;
ResultTable::~ResultTable() = default;

void ResultTable::clear() noexcept {
    size_ = 0;
    truncate();
}

/// Takes out what rows beyond the size have left.
void ResultTable::truncate() noexcept {
    const auto cut = [](auto& values, std::size_t size) {
        values.erase(values.begin() + static_cast<std::ptrdiff_t>(std::min(size, values.size())),
                     values.end());
    };
    for (Column& column : columns_) {
        cut(column.wholes, size_);
        cut(column.reals, size_);
        cut(column.bytes,
            column.wholes.empty() ? 0 : static_cast<std::size_t>(column.wholes.back()));
        cut(column.validity, (size_ + 7) / 8);
    }
    cut(cellEnds_, size_);
    cut(cells_, cellEnds_.empty() ? 0 : cellEnds_.back());
}

const ResultTable::Column& ResultTable::columnOf(std::size_t row, std::size_t column,
                                                 ResultKind first, ResultKind last) const {
    expect(row < size_ && column < columns_.size(), "The table has no such row or column.");
    const ResultKind kind = schema_->columns[column].kind;
    expect(first <= kind && kind <= last, "The column is of another kind.");
    return columns_[column];
}

bool ResultTable::isNull(std::size_t row, std::size_t column) const {
    const Column& values = columnOf(row, column, ResultKind::entity, ResultKind::boxEnd);
    return schema_->columns[column].isNullable &&
           !Validity{values.validity.data(), 0}.has(static_cast<std::int64_t>(row));
}

std::uint64_t ResultTable::entity(std::size_t row, std::size_t column) const {
    return static_cast<std::uint64_t>(
        columnOf(row, column, ResultKind::entity, ResultKind::entity).wholes[row]);
}

std::string_view ResultTable::text(std::size_t row, std::size_t column) const {
    const Column& values = columnOf(row, column, ResultKind::text, ResultKind::text);
    const auto endOf = [&values](std::size_t which) {
        return static_cast<std::size_t>(values.wholes[which]);
    };
    const std::size_t begin = row == 0 ? 0 : endOf(row - 1);
    return {values.bytes.data() + begin, endOf(row) - begin};
}

std::int64_t ResultTable::whole(std::size_t row, std::size_t column) const {
    return columnOf(row, column, ResultKind::whole, ResultKind::boxEnd).wholes[row];
}

double ResultTable::real(std::size_t row, std::size_t column) const {
    return columnOf(row, column, ResultKind::degrees, ResultKind::metres).reals[row];
}

const qorvel::SpaceBox* ResultTable::cells(std::size_t row) const {
    expect(row < size_, "The table has no such row or column.");
    return cells_.data() + firstCell(row);
}

std::size_t ResultTable::cellCount(std::size_t row) const {
    expect(row < size_, "The table has no such row or column.");
    return cellEnds_[row] - firstCell(row);
}

RowAppender::RowAppender(ResultTable& table, const ResultSchema& schema) : table_(table) {
    expect(&schema == table.schema_.get(), "The table is for other results.");
}

RowAppender::~RowAppender() {
    if (!isFinished_) {
        table_.truncate();
    }
}

void RowAppender::isPresent(bool present) {
    auto& validity = table_.columns_[next_].validity;
    const std::size_t bit = table_.size_ % 8;
    if (bit == 0) {
        validity.push_back(0);
    }
    const auto mask = static_cast<std::uint8_t>(1U << bit);
    // A row that was not finished may have left its bit.
    validity.back() =
        static_cast<std::uint8_t>(present ? validity.back() | mask : validity.back() & ~mask);
}

void RowAppender::whole(std::int64_t value) {
    table_.columns_[next_].wholes.push_back(value);
    ++next_;
}

void RowAppender::real(double value) {
    table_.columns_[next_].reals.push_back(value);
    ++next_;
}

void RowAppender::text(std::string_view value) {
    auto& bytes = table_.columns_[next_].bytes;
    bytes.insert(bytes.end(), value.begin(), value.end());
    whole(static_cast<std::int64_t>(bytes.size()));
}

void RowAppender::cell(const qorvel::SpaceBox& cell) {
    text(cell.toASCIIString());
    whole(cell.getGeoHashBitDepth());
    double latitude = 0.0;
    double longitude = 0.0;
    qorvel::QorvelMotionProcessorAPI::getCentroid(cell, latitude, longitude, table_.errors_);
    real(latitude);
    real(longitude);
}

void RowAppender::shape(const qorvel::SpaceBox& cell) {
    table_.cells_.push_back(cell);
}

void RowAppender::finish() {
    table_.cellEnds_.push_back(table_.cells_.size());
    ++table_.size_;
    isFinished_ = true;
}

} // namespace qorvel_engine
