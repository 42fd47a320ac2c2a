#ifndef QORVEL_TESTING_WORLD_STAYSCENE_H
#define QORVEL_TESTING_WORLD_STAYSCENE_H

#include <cstdint>
#include <string>
#include <vector>

namespace world {

/// A report of a device. Degrees, ms since 1970 UTC, metres.
struct SceneFix {
    std::uint32_t entity;
    std::int64_t time;
    double lat;
    double lon;
    double accuracy;
};

/// The truth: the entity was at the place for from <= t < to.
struct SceneStay {
    std::uint32_t entity;
    std::int64_t from;
    std::int64_t to;
    double lat;
    double lon;
};

struct StayScene {
    std::vector<SceneFix> fixes; ///< by entity, then by time
    std::vector<SceneStay> stays;
};

/// Where somebody goes, and what the devices make of it. What is not said is as in most scenes.
struct SceneKind {
    std::string name;
    double fewestMinutes = 30.0; ///< of a stay; short ones are more frequent
    double mostMinutes = 480.0;
    double nearest = 700.0; ///< from a place to the next, metres, in a straight line
    double farthest = 6000.0;
    double shortestPause = 30.0; ///< between fixes, seconds
    double longestPause = 120.0;
    double leastNoise = 5.0; ///< metres, root mean square; the accuracy that is told
    double mostNoise = 50.0;
    double outliers = 0.01; ///< share of fixes off by 300 to 3,000 m; every other one says so
    double gaps = 0.001;    ///< share of fixes after which 10 to 60 minutes are missing: one a day
    double stops = 0.1;     ///< share of places where one is for 4 to 11 minutes only
    bool sleeps = false;    ///< no fixes at night, for which one is where one was at nine
    bool hasSecondDevice = false; ///< one twice as slow and with six times the noise, besides
    std::uint32_t entities = 40;
    std::uint32_t days = 7;
};

/// Those that stays are judged by, but for the town.
std::vector<SceneKind> sceneKinds();

/// The same for the same kind and seed, to the last bit, on every machine.
StayScene makeScene(const SceneKind& kind, std::uint64_t seed);

/// A week of the sample world, see World.h; a stay beyond midnight is one there.
StayScene makeTownScene(std::uint32_t entities, std::uint64_t seed);

} // namespace world

#endif
