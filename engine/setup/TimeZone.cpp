#include "engine/setup/TimeZone.h"

#include "engine/columns/Fault.h"
#include "engine/setup/detail/ZoneChanges.h"

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>
#include <string_view>
#include <system_error>

namespace qorvel_engine {

namespace {

constexpr std::int64_t kSecond = 1000;
constexpr std::int64_t kDay = 86'400'000;
constexpr std::int64_t kLatest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kEarliest = std::numeric_limits<std::int64_t>::min();

/// Offsets are at most two days.
std::int64_t plus(std::int64_t time, std::int64_t offset) {
    if (offset > 0) {
        return time > kLatest - offset ? kLatest : time + offset;
    }
    return time < kEarliest - offset ? kEarliest : time + offset;
}

[[noreturn]] void refuse(const std::string& sentence) {
    throw Fault(FaultCode::badConfiguration, sentence);
}

std::string quoted(const std::string& name) {
    return '"' + name + '"';
}

/// Of a name that leads nowhere but into the database.
bool isName(std::string_view text) {
    constexpr std::size_t kLongest = 100;
    constexpr std::string_view kFirst = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    constexpr std::string_view kOthers =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_+-/";
    return !text.empty() && text.size() <= kLongest &&
           kFirst.find(text.front()) != std::string_view::npos &&
           text.find_first_not_of(kOthers) == std::string_view::npos;
}

/// Of "+05:30", ms.
std::optional<std::int64_t> readOffset(std::string_view text) {
    const auto digit = [text](std::size_t at) { return std::int64_t{text[at]} - '0'; };
    if (text.size() != 6 || (text[0] != '+' && text[0] != '-') || text[3] != ':') {
        return std::nullopt;
    }
    for (const std::size_t at : {1U, 2U, 4U, 5U}) {
        if (digit(at) < 0 || digit(at) > 9) {
            return std::nullopt;
        }
    }
    const std::int64_t minutes = 60 * (10 * digit(1) + digit(2)) + 10 * digit(4) + digit(5);
    if (digit(4) > 5 || minutes > 24 * 60) {
        return std::nullopt;
    }
    return (text[0] == '-' ? -minutes : minutes) * 60 * kSecond;
}

/// Where the database is, on the systems that have one.
std::string databaseFolder() {
    for (const char* const folder :
         {"/usr/share/zoneinfo", "/usr/lib/zoneinfo", "/usr/share/lib/zoneinfo", "/etc/zoneinfo"}) {
        std::error_code none;
        if (std::filesystem::is_directory(folder, none)) {
            return folder;
        }
    }
    return "";
}

/// The bytes of a zone; empty if there is none of that name.
std::string readZone(const std::string& folder, const std::string& name) {
    constexpr std::size_t kMost = 1'000'000;
    const std::string path = folder + '/' + name;
    std::error_code none;
    if (!std::filesystem::is_regular_file(path, none)) {
        return "";
    }
    std::ifstream file(path, std::ios::binary);
    std::string bytes(kMost, '\0');
    file.read(bytes.data(), static_cast<std::streamsize>(kMost));
    bytes.resize(static_cast<std::size_t>(file.gcount()));
    return bytes;
}

} // namespace

TimeZone::TimeZone() : changes_(std::make_shared<const detail::ZoneChanges>(0)) {}

TimeZone::TimeZone(const std::string& name) : name_(name) {
    constexpr char kWanted[] = "; want a name such as \"Europe/Berlin\", \"UTC\", or an offset "
                               "such as \"+02:00\".";
    if (name == "UTC") {
        changes_ = std::make_shared<const detail::ZoneChanges>(0);
        return;
    }
    if (const std::optional<std::int64_t> offset = readOffset(name)) {
        changes_ = std::make_shared<const detail::ZoneChanges>(*offset);
        return;
    }
    if (!isName(name)) {
        refuse(quoted(name) + " is no time zone" + kWanted);
    }
    const std::string folder = databaseFolder();
    if (folder.empty()) {
        refuse("This machine has no time zones to look " + quoted(name) +
               " up in: install its package tzdata, or say \"UTC\" or an offset such as "
               "\"+02:00\".");
    }
    const std::string bytes = readZone(folder, name);
    changes_ = bytes.empty() ? nullptr : detail::readZoneFile(bytes);
    if (changes_ == nullptr) {
        refuse("The time zones of this machine have no " + quoted(name) + kWanted);
    }
}

std::int64_t TimeZone::offsetAt(std::int64_t utc) const noexcept {
    const std::size_t count = changes_->countUpTo(utc);
    return count == 0 ? changes_->before : changes_->offsets[count - 1];
}

std::int64_t TimeZone::nextChange(std::int64_t utc) const noexcept {
    const std::size_t count = changes_->countUpTo(utc);
    return count == changes_->at.size() ? kLatest : changes_->at[count];
}

std::int64_t TimeZone::toLocal(std::int64_t utc) const noexcept {
    return plus(utc, offsetAt(utc));
}

/// From an offset to the next one, beginning well before.
std::int64_t TimeZone::toUtc(std::int64_t local) const noexcept {
    std::int64_t from = plus(local, -2 * kDay);
    std::int64_t result = plus(local, -offsetAt(from));
    for (;;) {
        const std::int64_t end = nextChange(from);
        if (result < end || end == kLatest) {
            return result;
        }
        const std::int64_t next = plus(local, -offsetAt(end));
        if (next < end) {
            return result; // the clocks never showed it
        }
        from = end;
        result = next;
    }
}

} // namespace qorvel_engine
