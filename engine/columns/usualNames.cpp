#include "engine/columns/usualNames.h"

#include <algorithm>

namespace qorvel_engine {

namespace {

char toLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t begin = std::min(text.find_first_not_of(kBlanks), text.size());
    return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

} // namespace

std::vector<std::size_t> UsualNames::find(const std::vector<std::string>& columns) const {
    std::vector<std::size_t> found;
    for (const std::vector<std::string_view>& rank : ranks) {
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const auto hasName = [&](std::string_view usual) {
                return isUsualName(columns[i], usual);
            };
            if (std::any_of(rank.begin(), rank.end(), hasName)) {
                found.push_back(i);
            }
        }
        if (!found.empty()) {
            break;
        }
    }
    return found;
}

/// An id by itself is often the number of the row, a name often a label: both come last.
const std::vector<UsualNames>& usualNames() {
    static const std::vector<UsualNames> names = {
        {"entity",
         {{"entity", "entity_id"},
          {"user", "user_id", "mmsi", "device", "device_id", "vehicle", "vehicle_id"},
          {"id"},
          {"track_fid", "route_fid"},
          {"name"}}},
        {"lat", {{"lat", "latitude"}, {"y"}}},
        {"lon", {{"lon", "lng", "long", "longitude"}, {"x"}}},
        {"time",
         {{"time_ms", "timestamp_ms"},
          {"time", "timestamp", "datetime", "date_time", "basedatetime"},
          {"t", "ts"}}},
        {"accuracy", {{"accuracy_m"}, {"accuracy", "horizontal_accuracy"}}},
        {"primary_key", {{"primary_key"}, {"key"}}},
        {"secondary_key", {{"secondary_key"}}},
        {"hdop", {{"hdop"}}}};
    return names;
}

bool isUsualName(std::string_view column, std::string_view usualName) noexcept {
    const std::string_view core = trimmed(column);
    return std::equal(core.begin(), core.end(), usualName.begin(), usualName.end(),
                      [](char a, char b) { return toLower(a) == b; });
}

} // namespace qorvel_engine
