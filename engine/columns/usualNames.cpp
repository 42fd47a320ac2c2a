#include "engine/columns/usualNames.h"

#include <algorithm>

namespace qorvel_engine {

namespace {

char toLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// What tells the words of a name apart, or introduces a header as in "# Timestamp".
bool isBetweenWords(char c) {
    return std::string_view(" \t\r\n_-.:#").find(c) != std::string_view::npos;
}

/// The next character from `at` on that counts, in small letters; 0 behind the last.
char nextLetter(std::string_view name, std::size_t& at) {
    while (at < name.size() && isBetweenWords(name[at])) {
        ++at;
    }
    return at < name.size() ? toLower(name[at++]) : '\0';
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

/// An id by itself is often the number of the row, a name often a label: both come last. A moving
/// entity comes before its track or trip, of which it may have many.
const std::vector<UsualNames>& usualNames() {
    static const std::vector<UsualNames> names = {
        {"entity",
         {{"entity", "entity_id"},
          {"user", "user_id", "mmsi", "device", "device_id", "vehicle", "vehicle_id"},
          {"uid", "icao24", "imei", "individual_local_identifier", "person_id", "animal_id",
           "agent_id", "tracker_id", "vessel_id", "ship_id", "taxi_id", "bus_id"},
          {"tag_local_identifier", "track_id", "traj_id", "trajectory_id", "trip_id", "tid"},
          {"id"},
          {"track_fid", "route_fid"},
          {"name"}}},
        {"lat",
         {{"lat", "latitude"},
          {"location_lat", "position_lat", "gps_lat", "lat_deg", "decimal_latitude",
           "location_latitude", "position_latitude", "gps_latitude"},
          {"y"}}},
        {"lon",
         {{"lon", "lng", "long", "longitude"},
          {"location_long", "location_lon", "location_lng", "position_long", "position_lon",
           "gps_lon", "gps_long", "lon_deg", "decimal_longitude", "location_longitude",
           "position_longitude", "gps_longitude"},
          {"x"}}},
        {"time",
         {{"time_ms", "timestamp_ms"},
          {"time", "timestamp", "datetime", "date_time", "basedatetime"},
          {"tracked_at", "recorded_at", "observed_at", "event_time", "gps_time", "fix_time",
           "time_utc", "utc_time", "timestamp_utc", "utc_timestamp", "unix_time", "unix_timestamp",
           "unix_ms", "epoch", "epoch_ms", "time_us", "timestamp_us", "time_ns", "timestamp_ns"},
          {"t", "ts", "tst"}}},
        {"accuracy",
         {{"accuracy_m"},
          {"accuracy", "horizontal_accuracy"},
          {"acc", "horizontal_accuracy_m", "accuracy_meters", "accuracy_metres", "gps_accuracy",
           "location_accuracy", "location_error_numerical", "eph",
           "coordinate_uncertainty_in_meters"}}},
        {"primary_key", {{"primary_key"}, {"key"}}},
        {"secondary_key", {{"secondary_key"}}},
        {"hdop", {{"hdop"}}}};
    return names;
}

bool isUsualName(std::string_view column, std::string_view usualName) noexcept {
    std::size_t atColumn = 0;
    std::size_t atUsual = 0;
    char letter = nextLetter(column, atColumn);
    while (letter != '\0' && letter == nextLetter(usualName, atUsual)) {
        letter = nextLetter(column, atColumn);
    }
    return letter == '\0' && nextLetter(usualName, atUsual) == '\0';
}

} // namespace qorvel_engine
