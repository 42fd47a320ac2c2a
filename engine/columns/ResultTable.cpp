#include "engine/columns/ResultTable.h"

#include "engine/columns/Fault.h"

#include "qorvel/base/cellText.h"
#include "qorvel/base/decode.h"

#include <algorithm>
#include <array>
#include <bit>
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

namespace {

qorvel_detail::Degrees centreOf(const qorvel::SpaceBox& cell) {
    return qorvel_detail::centreOf(cell.getFirst64Bits(), cell.getSecond64Bits(),
                                   cell.getGeoHashBitDepth());
}

} // namespace

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
    const qorvel_detail::Degrees centre = centreOf(cell);
    real(centre.latitude);
    real(centre.longitude);
}

void RowAppender::shape(const qorvel::SpaceBox& cell) {
    table_.cells_.push_back(cell);
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

/// The middles of cells that were asked for lately, from one side to the other: many cells have the
/// same parallels and the same meridians.
class Middles {
public:
    /// Cells of another depth come next.
    void turnTo(const qorvel_detail::CellSide& side) {
        rest_ = side.rest;
        shift_ = static_cast<std::uint32_t>(std::bit_width(rest_)) % 64;
    }

    template <class Find>
    double of(std::uint64_t code, const Find& find) {
        const std::uint64_t key = code | rest_;
        // Those side by side have places side by side.
        Known& known = known_[static_cast<std::size_t>(key >> shift_) % kKnown];
        if (known.key != key || known.rest != rest_) {
            known = {key, rest_, find(code)};
        }
        return known.middle;
    }

private:
    static constexpr std::size_t kKnown = 512;

    struct Known {
        std::uint64_t key = 0;
        std::uint64_t rest = 1; ///< none is
        double middle = 0.0;
    };
    std::array<Known, kKnown> known_;
    std::uint64_t rest_ = 0;
    std::uint32_t shift_ = 0;
};

/// The middles of all cells, of which mostly one after the other has the same depth.
template <class SideAt, class CodeOf, class MiddleOf>
void appendMiddles(const std::vector<CellBits>& cells, AlignedVector<double>& to,
                   const SideAt& sideAt, const CodeOf& codeOf, const MiddleOf& middleOf) {
    const std::size_t first = to.size();
    to.resize(first + cells.size());
    Middles middles;
    for (std::size_t row = 0; row < cells.size();) {
        const std::uint32_t depth = cells[row].depth;
        const qorvel_detail::CellSide side = sideAt(depth);
        middles.turnTo(side);
        for (; row < cells.size() && cells[row].depth == depth; ++row) {
            const std::uint64_t second = depth > 64 ? cells[row].second : 0; // else none counts
            to[first + row] = middles.of(codeOf(cells[row].first, second),
                                         [&](std::uint64_t code) { return middleOf(side, code); });
        }
    }
}

} // namespace

void RowsAppender::tellCells(const std::vector<CellBits>& cells) {
    table_.cells_.reserve(table_.cells_.size() + count_);
    for (const CellBits& cell : cells) {
        table_.cells_.emplace_back(cell.first, cell.second, cell.depth);
    }
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
