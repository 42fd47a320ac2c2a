#include "tools/FixColumns.h"

#include "tools/Failure.h"

#include <charconv>
#include <limits>
#include <system_error>

namespace host {

namespace {

constexpr std::size_t kAbsent = std::numeric_limits<std::size_t>::max();
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string quoted(std::string_view text) {
    constexpr std::size_t kMost = 40;
    std::string result(1, '"');
    result += text.substr(0, kMost);
    result += text.size() > kMost ? "...\"" : "\"";
    return result;
}

/// False unless the whole text is one number that the type can hold.
template <typename Number>
bool parse(std::string_view text, Number& value) {
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && stop == end;
}

std::string says(std::string_view column, std::string_view what) {
    return std::string(column) + ' ' + std::string(what);
}

} // namespace

const std::array<std::string_view, FixColumns::kColumns> FixColumns::kNames = {
    "entity", "lat", "lon", "time_ms", "accuracy_m"};

FixColumns::FixColumns(const CsvReader& header) : fieldCount_(header.fieldCount()) {
    at_.fill(kAbsent);
    for (std::size_t field = 0; field < fieldCount_; ++field) {
        std::string_view name = header.field(field);
        if (field == 0 && name.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
            name.remove_prefix(kByteOrderMark.size());
        }
        for (std::size_t column = 0; column < kColumns; ++column) {
            if (name == kNames[column] && at_[column] != kAbsent) {
                throw Failure(ExitCode::broken, says("the header has two columns", quoted(name)));
            }
            if (name == kNames[column]) {
                at_[column] = field;
            }
        }
    }
    for (std::size_t column = 0; column < kAccuracy; ++column) {
        if (at_[column] == kAbsent) {
            throw Failure(ExitCode::broken, says("the header has no column", kNames[column]) +
                                                " (wanted: entity,lat,lon,time_ms[,accuracy_m])");
        }
    }
}

std::string FixColumns::read(const CsvReader& row, Fix& fix) const {
    if (row.fieldCount() != fieldCount_) {
        return std::to_string(row.fieldCount()) + " fields where the header has " +
               std::to_string(fieldCount_);
    }
    fix.entity = text(row, kEntity);
    if (fix.entity.empty()) {
        return says(kNames[kEntity], "is missing");
    }
    std::string fault = readReal(row, kLat, -90.0, 90.0, fix.latitude);
    if (fault.empty()) {
        fault = readReal(row, kLon, -180.0, 180.0, fix.longitude);
    }
    if (fault.empty()) {
        fault = readTimeField(row, fix.time);
    }
    fix.accuracyM.reset();
    if (fault.empty() && at_[kAccuracy] != kAbsent && !text(row, kAccuracy).empty()) {
        constexpr double kLargest = std::numeric_limits<double>::max();
        fault = readReal(row, kAccuracy, 0.0, kLargest, fix.accuracyM.emplace());
    }
    return fault;
}

std::optional<std::int64_t> FixColumns::readTime(const CsvReader& row) const {
    std::int64_t time = 0;
    if (row.fieldCount() != fieldCount_ || !readTimeField(row, time).empty()) {
        return std::nullopt;
    }
    return time;
}

std::string_view FixColumns::text(const CsvReader& row, Column column) const {
    return row.field(at_[column]);
}

std::string FixColumns::readTimeField(const CsvReader& row, std::int64_t& time) const {
    const std::string_view value = text(row, kTime);
    if (value.empty()) {
        return says(kNames[kTime], "is missing");
    }
    if (!parse(value, time)) {
        return says(kNames[kTime], "is no whole number of 64 bits: ") + quoted(value);
    }
    return time < 0 ? says(kNames[kTime], "is negative: ") + quoted(value) : "";
}

std::string FixColumns::readReal(const CsvReader& row, Column column, double low, double high,
                                 double& value) const {
    const std::string_view field = text(row, column);
    if (field.empty()) {
        return says(kNames[column], "is missing");
    }
    if (!parse(field, value)) {
        return says(kNames[column], "is not a number: ") + quoted(field);
    }
    // Written so that a NaN fails.
    return value >= low && value <= high
               ? ""
               : says(kNames[column], "is out of range: ") + quoted(field);
}

} // namespace host
