#include "engine/columns/ResultTable.h"

#include "engine/columns/Fault.h"

#include "qorvel/base/cellText.h"
#include "qorvel/base/decode.h"
#include "qorvel/base/hashing.h"

#include <algorithm>
#include <array>
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

/// The middles of cells that were asked for lately: many cells have the same parallels and the same
/// meridians.
class Middles {
public:
    template <class Find>
    double of(std::uint64_t code, std::uint64_t rest, const Find& find) {
        const std::uint64_t key = code | rest;
        Known& known = known_[static_cast<std::size_t>(qorvel_detail::mix(key)) % kKnown];
        if (known.key != key || known.rest != rest) {
            known = {key, rest, find(code)};
        }
        return known.middle;
    }

private:
    static constexpr std::size_t kKnown = 256;

    struct Known {
        std::uint64_t key = 0;
        std::uint64_t rest = 1; ///< none is
        double middle = 0.0;
    };
    std::array<Known, kKnown> known_;
};

} // namespace

/// What columns tell of the shapes from the first on.
void RowsAppender::tellCells(std::size_t first) {
    using qorvel_detail::CellSide;
    ResultTable::Column& texts = table_.columns_[next_];
    AlignedVector<std::int64_t>& depths = table_.columns_[next_ + 1].wholes;
    AlignedVector<double>& latitudes = table_.columns_[next_ + 2].reals;
    AlignedVector<double>& longitudes = table_.columns_[next_ + 3].reals;
    next_ += 4;
    texts.wholes.reserve(texts.wholes.size() + count_);
    depths.reserve(depths.size() + count_);
    latitudes.reserve(latitudes.size() + count_);
    longitudes.reserve(longitudes.size() + count_);
    Middles parallels;
    Middles meridians;
    std::size_t end = texts.bytes.size();
    for (std::size_t row = first; row < first + count_; ++row) {
        const qorvel::SpaceBox& cell = table_.cells_[row];
        const std::uint32_t depth = cell.getGeoHashBitDepth();
        const std::uint64_t high = cell.getFirst64Bits();
        const std::uint64_t low = depth > 64 ? cell.getSecond64Bits() : 0; // else none counts
        const std::size_t length = qorvel_detail::cellTextLength(depth);
        if (texts.bytes.size() - end < qorvel_detail::kCellTextRoom) {
            texts.bytes.resize(end + (first + count_ - row) * length +
                               qorvel_detail::kCellTextRoom);
        }
        qorvel_detail::writeCellText(high, low, depth, texts.bytes.data() + end);
        end += length;
        texts.wholes.push_back(static_cast<std::int64_t>(end));
        depths.push_back(depth);
        const CellSide latitude = CellSide::ofLatitude(depth);
        const CellSide longitude = CellSide::ofLongitude(depth);
        latitudes.push_back(
            parallels.of(qorvel_detail::latitudeCode(high, low), latitude.rest,
                         [&](std::uint64_t code) { return latitude.middleLatitude(code); }));
        longitudes.push_back(
            meridians.of(qorvel_detail::longitudeCode(high, low), longitude.rest,
                         [&](std::uint64_t code) { return longitude.middleLongitude(code); }));
    }
    texts.bytes.resize(end);
}

void RowsAppender::finish() {
    table_.size_ += count_;
    isFinished_ = true;
}

} // namespace qorvel_engine
