#include "engine/columns/ResultTable.h"

#include "engine/columns/Fault.h"

#include "qorvel/facade/QorvelMotionProcessorAPI.h"

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
    ++table_.size_;
    isFinished_ = true;
}

} // namespace qorvel_engine
