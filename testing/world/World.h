#ifndef QORVEL_TESTING_WORLD_WORLD_H
#define QORVEL_TESTING_WORLD_WORLD_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// A sample world: people, delivery vans and ships of an invented coast town, what their devices
/// report, and the truth of who stayed where. For tests, benchmarks and demonstrations.
/// The same options give the same world, to the last bit, on every machine.
namespace world {

/// Every world begins at 2024-03-04T00:00:00Z, a Monday; the town keeps UTC.
inline constexpr std::int64_t kStartMs = 1709510400000;

/// A position farther from the truth than this times its accuracy is never reported.
inline constexpr double kMaxErrorPerAccuracy = 2.5;

struct WorldOptions {
    std::uint32_t entities = 200; ///< 80 % people, 15 % vans, 5 % ships (rounded down, rest people)
    std::uint32_t days = 3;       ///< length; Saturdays and Sundays are free of work
    std::uint64_t seed = 1;
};

/// One report of a device. Degrees have at most 7 decimals, accuracies 1.
struct Fix {
    std::uint32_t entity = 0;   ///< index into World::entities
    double lat = 0.0;           ///< degrees
    double lon = 0.0;           ///< degrees
    std::int64_t timeMs = 0;    ///< when the device was there; whole seconds
    double accuracyM = 0.0;     ///< metres; some fixes are poor (300 m and more) and say so
    std::int64_t arrivalMs = 0; ///< when the report came in; a few come minutes to hours late
};

/// The truth: the entity stayed within radiusM of the place for fromMs <= t < toMs.
struct Stay {
    std::uint32_t entity = 0; ///< index into World::entities
    std::string place;        ///< "home-0001", "work-03", "shop-02", "gym-1", "stop-12", ...
    double lat = 0.0;         ///< degrees, at most 7 decimals
    double lon = 0.0;         ///< degrees, at most 7 decimals
    double radiusM = 0.0;     ///< metres; 0 but for ships, which swing about their anchor
    std::int64_t fromMs = 0;
    std::int64_t toMs = 0;
};

struct World {
    std::vector<std::string> entities; ///< names: "person-0001", "van-0001", "ship-0001"
    std::vector<Fix> fixes;            ///< in order of arrival: mostly, not always, of time
    std::vector<Stay> stays;           ///< by entity, then by time
};

/// @param attend  called for each entity; what it throws ends the work
World makeWorld(
    const WorldOptions& options, const std::function<void()>& attend = [] {});

/// CSV lines without a line end: the header and one row.
inline constexpr char kFixHeader[] = "entity,lat,lon,time_ms,accuracy_m";
inline constexpr char kStayHeader[] = "entity,place,lat,lon,radius_m,from_ms,to_ms";
void appendRow(std::string& out, const World& world, const Fix& fix);
void appendRow(std::string& out, const World& world, const Stay& stay);

} // namespace world

#endif
