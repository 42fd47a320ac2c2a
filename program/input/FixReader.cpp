#include "program/input/FixReader.h"

#include "engine/columns/usualNames.h"
#include "program/input/number.h"
#include "program/input/pointText.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <simdjson.h>

namespace program {

namespace {

/// The dilution of precision says how the satellites' places stretch the error of one range, not
/// how large that is. 5 m is what a common receiver has under an open sky; a stricter reading would
/// trust a position more than it deserves.
constexpr double kMetresPerHdop = 5.0;

std::string_view at(const FixTexts& texts, FixField field) {
    return texts[indexOf(field)];
}

/// Without a NUL. Eight bytes at once, since names are short and a call for each would cost more.
bool isAscii(std::string_view text) {
    constexpr std::uint64_t kHigh = 0x8080808080808080;
    constexpr std::uint64_t kOnes = 0x0101010101010101;
    for (; text.size() >= sizeof(std::uint64_t); text.remove_prefix(sizeof(std::uint64_t))) {
        std::uint64_t eight = 0;
        std::memcpy(&eight, text.data(), sizeof eight);
        if (((eight | (eight - kOnes)) & kHigh) != 0) {
            return false;
        }
    }
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return (c & '\x7F') == c && c != '\0'; });
}

std::string quoted(std::string_view text) {
    constexpr std::size_t kMost = 40;
    std::string result(1, '"');
    result += text.substr(0, kMost);
    result += text.size() > kMost ? "...\"" : "\"";
    return result;
}

} // namespace

FixReader::FixReader(const InputOptions& options)
    : columns_(options), time_(options.timeUnit, options.zone) {}

void FixReader::find(const std::vector<std::string>& names, const std::string& where,
                     bool hasPlace) {
    columns_.find(names, where, hasPlace);
    time_.heed(columns_.name(FixField::time));
}

std::string FixReader::read(const FixTexts& texts, Fix& fix) {
    // The time comes first even where more is wrong: what counts as the first number of the input,
    // which tells the unit, must not depend on the rest of its row.
    const std::string timeFault = checkTime(at(texts, FixField::time), fix.time);
    fix.entity = at(texts, FixField::entity);
    if (fix.entity.empty()) {
        return says(FixField::entity, "is missing");
    }
    std::string fault = checkNames(texts);
    if (fault.empty()) {
        fault = readPlace(texts, fix);
    }
    if (fault.empty()) {
        fault = timeFault;
    }
    if (fault.empty()) {
        fault = readAccuracy(at(texts, FixField::accuracy), fix.accuracyM);
    }
    fix.primaryKey = at(texts, FixField::primaryKey);
    fix.secondaryKey = at(texts, FixField::secondaryKey);
    if (fault.empty()) {
        assumed_ += time_.assumed();
    }
    return fault;
}

std::optional<std::int64_t> FixReader::readTime(std::string_view text) {
    std::int64_t time = 0;
    const std::string_view plain = plainNumber(text);
    if (plain.empty() || time_.read(plain, time) != nullptr) {
        return std::nullopt;
    }
    return time;
}

void FixReader::restart() {
    assumed_ = {};
}

void FixReader::goOn(TimeUnit unit, const std::vector<std::string>& keys) {
    time_.setUnit(unit);
    for (const std::string& key : keys) {
        columns_.adopt(key);
    }
}

/// Names go into every kind of output, and not all of them can hold everything.
std::string FixReader::checkNames(const FixTexts& texts) const {
    for (const FixField field : {FixField::entity, FixField::primaryKey, FixField::secondaryKey}) {
        const std::string_view name = at(texts, field);
        if (isAscii(name)) {
            continue;
        }
        if (name.find('\0') != std::string_view::npos) {
            return says(field, "holds a NUL, which no name has");
        }
        if (!simdjson::validate_utf8(name)) {
            return says(field, "is not UTF-8; iconv converts texts");
        }
    }
    return {};
}

std::string FixReader::checkTime(std::string_view text, std::int64_t& time) {
    const std::string_view plain = plainNumber(text);
    if (plain.empty()) {
        return says(FixField::time, "is missing");
    }
    const char* fault = time_.read(plain, time);
    return fault == nullptr ? "" : says(FixField::time, fault) + ": " + quoted(text);
}

std::string FixReader::readPlace(const FixTexts& texts, Fix& fix) const {
    if (columns_.index(FixField::point) != FixColumns::kAbsent) {
        return readPointOf(at(texts, FixField::point), fix);
    }
    std::string fault =
        readReal(FixField::latitude, at(texts, FixField::latitude), -90.0, 90.0, fix.latitude);
    if (fault.empty()) {
        fault = readReal(FixField::longitude, at(texts, FixField::longitude), -180.0, 180.0,
                         fix.longitude);
    }
    return fault;
}

std::string FixReader::readPointOf(std::string_view text, Fix& fix) const {
    if (text.empty()) {
        return says(FixField::point, "is missing");
    }
    const char* fault = readPoint(text, fix.longitude, fix.latitude);
    const bool isOnEarth =
        std::fabs(fix.longitude) <= 180.0 && std::fabs(fix.latitude) <= 90.0; // a NaN is not
    if (fault == nullptr && !isOnEarth) {
        fault = "is out of range (the longitude comes first)";
    }
    return fault == nullptr ? "" : says(FixField::point, fault) + ": " + quoted(text);
}

std::string FixReader::readAccuracy(std::string_view text, std::optional<double>& accuracy) {
    accuracy.reset();
    if (text.empty()) {
        return {};
    }
    const std::string& name = columns_.name(FixField::accuracy);
    if (name != accuracyName_) {
        accuracyName_ = name;
        metresPerUnit_ = qorvel_engine::isUsualName(name, "hdop") ? kMetresPerHdop : 1.0;
    }
    double value = 0.0;
    std::string fault = readReal(FixField::accuracy, text, 0.0,
                                 std::numeric_limits<double>::max() / metresPerUnit_, value);
    accuracy = value * metresPerUnit_;
    return fault;
}

std::string FixReader::readReal(FixField field, std::string_view text, double low, double high,
                                double& value) const {
    if (text.empty()) {
        return says(field, "is missing");
    }
    if (!readNumber(plainNumber(text), value)) {
        return says(field, "is not a number: ") + quoted(text);
    }
    // Written so that a NaN fails.
    return value >= low && value <= high ? "" : says(field, "is out of range: ") + quoted(text);
}

std::string FixReader::says(FixField field, std::string_view what) const {
    return columns_.name(field) + ' ' + std::string(what);
}

} // namespace program
