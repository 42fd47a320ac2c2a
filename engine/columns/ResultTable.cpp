#include "engine/columns/ResultTable.h"

#include "engine/columns/Fault.h"

#include "qorvel/base/cellText.h"
#include "qorvel/base/decode.h"

#include <algorithm>
#include <utility>

namespace qorvel_engine {

ResultTable::ResultTable(std::shared_ptr<const ResultSchema> schema,
                         std::shared_ptr<const EntityNames> names)
    : schema_(std::move(schema)), names_(std::move(names)) {
    expect(schema_ != nullptr && names_ != nullptr, "A table of results needs a schema and names.");
    columns_.resize(schema_->columns.size());
}

ResultTable::ResultTable(ResultTable&&) noexcept = default;
ResultTable& ResultTable::operator=(ResultTable&&) noexcept = default;
ResultTable::~ResultTable() = default;

void ResultTable::reserve(std::size_t rows) {
    for (std::size_t column = 0; column < columns_.size(); ++column) {
        const ResultKind kind = schema_->columns[column].kind;
        if (kind == ResultKind::degrees || kind == ResultKind::metres ||
            kind == ResultKind::hours) {
            columns_[column].reals.reserve(rows);
        } else {
            columns_[column].wholes.reserve(rows);
        }
    }
    cells_.reserve(rows);
}

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
    cut(cells_, size_);
}

void ResultTable::refuse(const char* why) {
    throw Fault(FaultCode::misuse, why);
}

RowAppender::RowAppender(ResultTable& table, const ResultSchema& schema) : table_(table) {
    ResultTable::expect(&schema == table.schema_.get(), "The table is for other results.");
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
    const qorvel_detail::Degrees centre = qorvel_detail::centreOf(
        cell.getFirst64Bits(), cell.getSecond64Bits(), cell.getGeoHashBitDepth());
    real(centre.latitude);
    real(centre.longitude);
}

void RowAppender::shape(const qorvel::SpaceBox& cell) {
    table_.cells_.push_back(
        {cell.getFirst64Bits(), cell.getSecond64Bits(), cell.getGeoHashBitDepth()});
}

void RowAppender::finish() {
    ++table_.size_;
    isFinished_ = true;
}

RowsAppender::RowsAppender(ResultTable& table, const ResultSchema& schema, std::size_t count)
    : table_(table), count_(count) {
    ResultTable::expect(&schema == table.schema_.get(), "The table is for other results.");
}

RowsAppender::~RowsAppender() {
    if (!isFinished_) {
        table_.truncate();
    }
}

namespace {

/// The middles of all cells, of which mostly one after the other has the same depth.
template <class SideAt, class CodeOf, class MiddleOf>
void appendMiddles(const std::vector<CellBits>& cells, AlignedVector<double>& to,
                   const SideAt& sideAt, const CodeOf& codeOf, const MiddleOf& middleOf) {
    const std::size_t first = to.size();
    to.resize(first + cells.size());
    double* const middles = to.data() + first;
    for (std::size_t row = 0; row < cells.size();) {
        const std::uint32_t depth = cells[row].depth;
        const qorvel_detail::CellSide side = sideAt(depth);
        for (; row < cells.size() && cells[row].depth == depth; ++row) {
            const std::uint64_t second = depth > 64 ? cells[row].second : 0; // else none counts
            middles[row] = middleOf(side, codeOf(cells[row].first, second));
        }
    }
}

} // namespace

void RowsAppender::tellCells(const std::vector<CellBits>& cells) {
    table_.cells_.insert(table_.cells_.end(), cells.begin(), cells.end());
    appendTexts(cells);
    wholes([&](std::size_t row) { return static_cast<std::int64_t>(cells[row].depth); });
    using qorvel_detail::CellSide;
    appendMiddles(
        cells, table_.columns_[next_++].reals, CellSide::ofLatitude, qorvel_detail::latitudeCode,
        [](const CellSide& side, std::uint64_t code) { return side.middleLatitude(code); });
    appendMiddles(
        cells, table_.columns_[next_++].reals, CellSide::ofLongitude, qorvel_detail::longitudeCode,
        [](const CellSide& side, std::uint64_t code) { return side.middleLongitude(code); });
}

void RowsAppender::appendTexts(const std::vector<CellBits>& cells) {
    AlignedVector<char>& bytes = table_.columns_[next_].bytes;
    std::size_t end = bytes.size();
    std::size_t length = 0;
    for (const CellBits& cell : cells) {
        length += qorvel_detail::cellTextLength(cell.depth);
    }
    bytes.resize(end + length + qorvel_detail::kCellTextRoom);
    wholes([&](std::size_t row) {
        const CellBits& cell = cells[row];
        qorvel_detail::writeCellText(cell.first, cell.second, cell.depth, bytes.data() + end);
        end += qorvel_detail::cellTextLength(cell.depth);
        return static_cast<std::int64_t>(end);
    });
    bytes.resize(end);
}

void RowsAppender::finish() {
    table_.size_ += count_;
    isFinished_ = true;
}

} // namespace qorvel_engine
