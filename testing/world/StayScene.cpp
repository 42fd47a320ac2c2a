#include "testing/world/StayScene.h"

#include "testing/world/Random.h"
#include "testing/world/World.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace world {

namespace {

constexpr std::int64_t kSecond = 1000;
constexpr std::int64_t kMinute = 60 * kSecond;
constexpr std::int64_t kHour = 60 * kMinute;
constexpr std::int64_t kDay = 24 * kHour;
constexpr std::int64_t kStart = 19786 * kDay;

/// Where scenes lie, and the metres of a degree there.
constexpr double kLat = 48.1;
constexpr double kLon = 11.5;
constexpr double kMetresPerLat = 111200.0;
constexpr double kMetresPerLon = 74400.0;

struct Spot {
    double x; ///< metres east
    double y; ///< metres north
};

/// A stay, or where start and end differ a way.
struct Piece {
    std::int64_t from;
    std::int64_t to;
    Spot start;
    Spot end;
    bool isStay;

    Spot at(std::int64_t time) const {
        const double done = static_cast<double>(time - from) / static_cast<double>(to - from);
        return {start.x + (end.x - start.x) * done, start.y + (end.y - start.y) * done};
    }
};

Spot offset(Random& random, double least, double most) {
    // A direction by its rational parameter: sines differ between machines.
    const double t = random.between(-1.0, 1.0);
    const double side = random.chance(0.5) ? 1.0 : -1.0;
    const double length = random.between(least, most);
    return {length * side * (1.0 - t * t) / (1.0 + t * t), length * 2.0 * t / (1.0 + t * t)};
}

/// Doubled as often as chance has it, so that no length is more frequent than a shorter one.
std::int64_t drawStay(Random& random, const SceneKind& kind) {
    double minutes = kind.fewestMinutes;
    for (double ratio = kind.mostMinutes / kind.fewestMinutes; ratio > 1.0; ratio /= 2.0) {
        minutes *= 1.0 + random.unit() * (std::min(ratio, 2.0) - 1.0);
        if (random.chance(0.3)) {
            break;
        }
    }
    return static_cast<std::int64_t>(minutes * kMinute);
}

bool isNight(std::int64_t time) {
    const std::int64_t hour = time % kDay / kHour;
    return hour >= 21 || hour < 7;
}

std::int64_t nextMorning(std::int64_t time) {
    return (time + 17 * kHour) / kDay * kDay + 7 * kHour;
}

class Life {
public:
    Life(Random& random, const SceneKind& kind) : random_(random), kind_(kind) {}

    std::vector<Piece> live() {
        const std::int64_t end = kStart + kind_.days * kDay;
        Spot here{random_.between(-3000.0, 3000.0), random_.between(-3000.0, 3000.0)};
        for (std::int64_t now = kStart + random_.whole(0, 3 * kHour); now < end;) {
            now = stay(here, now);
            now = go(here, now);
        }
        return pieces_;
    }

private:
    std::int64_t stay(Spot here, std::int64_t now) {
        std::int64_t until =
            now + (random_.chance(kind_.stops) ? random_.whole(4 * kMinute, 11 * kMinute)
                                               : drawStay(random_, kind_));
        if (kind_.sleeps && (isNight(until) || isNight(now))) {
            until = nextMorning(now) + random_.whole(0, 2 * kHour);
        }
        pieces_.push_back({now, until, here, here, true});
        return until;
    }

    std::int64_t go(Spot& here, std::int64_t now) {
        constexpr double kSpeeds[] = {1.4, 4.0, 9.0, 14.0};
        const double speed = kSpeeds[random_.whole(0, 3)];
        Spot next{};
        do {
            const Spot way = offset(random_, kind_.nearest, kind_.farthest);
            next = {here.x + way.x, here.y + way.y};
        } while (std::abs(next.x) > 8000.0 || std::abs(next.y) > 8000.0);
        const double length = std::sqrt((next.x - here.x) * (next.x - here.x) +
                                        (next.y - here.y) * (next.y - here.y));
        const std::int64_t until =
            now + kSecond + static_cast<std::int64_t>(length / speed) * kSecond;
        pieces_.push_back({now, until, here, next, false});
        here = next;
        return until;
    }

    Random& random_;
    const SceneKind& kind_;
    std::vector<Piece> pieces_;
};

class Recorder {
public:
    Recorder(Random& random, const SceneKind& kind, std::uint32_t entity,
             const std::vector<Piece>& life, std::vector<SceneFix>& fixes)
        : random_(random), kind_(kind), entity_(entity), life_(life), fixes_(fixes) {}

    void record(double slowness, double noisiness) {
        std::size_t piece = 0;
        for (std::int64_t time = life_.front().from; time < life_.back().to;
             time += pause(slowness)) {
            while (life_[piece].to <= time) {
                ++piece;
            }
            if (!kind_.sleeps || !isNight(time)) {
                measure(life_[piece].at(time), time, noisiness);
            }
        }
    }

private:
    std::int64_t pause(double slowness) {
        const std::int64_t gap = random_.chance(kind_.gaps) ? random_.whole(10, 60) * kMinute : 0;
        const double seconds = slowness * random_.between(kind_.shortestPause, kind_.longestPause);
        return gap + std::max<std::int64_t>(1, static_cast<std::int64_t>(seconds)) * kSecond;
    }

    void measure(Spot at, std::int64_t time, double noisiness) {
        double accuracy = noisiness * random_.between(kind_.leastNoise, kind_.mostNoise);
        Spot error{accuracy * 0.7071 * random_.bell(), accuracy * 0.7071 * random_.bell()};
        if (random_.chance(kind_.outliers)) {
            error = offset(random_, 300.0, 3000.0);
            if (random_.chance(0.5)) {
                accuracy = std::sqrt(error.x * error.x + error.y * error.y);
            }
        }
        fixes_.push_back({entity_, time, kLat + (at.y + error.y) / kMetresPerLat,
                          kLon + (at.x + error.x) / kMetresPerLon, accuracy});
    }

    Random& random_;
    const SceneKind& kind_;
    std::uint32_t entity_;
    const std::vector<Piece>& life_;
    std::vector<SceneFix>& fixes_;
};

} // namespace

std::vector<SceneKind> sceneKinds() {
    std::vector<SceneKind> kinds(8);
    kinds[0].name = "base";
    SceneKind& clean = kinds[1];
    clean.name = "clean";
    clean.outliers = clean.gaps = 0.0;
    clean.leastNoise = clean.mostNoise = 5.0;
    SceneKind& near = kinds[2];
    near.name = "near";
    near.nearest = 350.0;
    near.farthest = 700.0;
    SceneKind& sparse = kinds[3];
    sparse.name = "sparse";
    sparse.shortestPause = 300.0;
    sparse.longestPause = 1200.0;
    sparse.days = 28;
    SceneKind& shortStays = kinds[4];
    shortStays.name = "short stays";
    shortStays.fewestMinutes = 20.0;
    shortStays.mostMinutes = 60.0;
    SceneKind& nights = kinds[5];
    nights.name = "nights";
    nights.sleeps = true;
    SceneKind& devices = kinds[6];
    devices.name = "two devices";
    devices.leastNoise = 5.0;
    devices.mostNoise = 15.0;
    devices.hasSecondDevice = true;
    SceneKind& dense = kinds[7];
    dense.name = "every second";
    dense.shortestPause = dense.longestPause = 1.0;
    dense.gaps = 0.00003;
    dense.entities = 12;
    dense.days = 2;
    return kinds;
}

StayScene makeScene(const SceneKind& kind, std::uint64_t seed) {
    StayScene scene;
    for (std::uint32_t entity = 0; entity < kind.entities; ++entity) {
        Random random(seed, entity);
        const std::vector<Piece> life = Life(random, kind).live();
        const auto first = static_cast<std::ptrdiff_t>(scene.fixes.size());
        Recorder recorder(random, kind, entity, life, scene.fixes);
        recorder.record(1.0, 1.0);
        if (kind.hasSecondDevice) {
            recorder.record(2.0, 6.0);
        }
        std::stable_sort(scene.fixes.begin() + first, scene.fixes.end(),
                         [](const SceneFix& a, const SceneFix& b) { return a.time < b.time; });
        for (const Piece& piece : life) {
            if (piece.isStay) {
                scene.stays.push_back({entity, piece.from, piece.to,
                                       kLat + piece.start.y / kMetresPerLat,
                                       kLon + piece.start.x / kMetresPerLon});
            }
        }
    }
    return scene;
}

StayScene makeTownScene(std::uint32_t entities, std::uint64_t seed) {
    const World town = makeWorld({entities, 7, seed});
    StayScene scene;
    for (const Fix& fix : town.fixes) {
        scene.fixes.push_back({fix.entity, fix.timeMs, fix.lat, fix.lon, fix.accuracyM});
    }
    std::stable_sort(scene.fixes.begin(), scene.fixes.end(),
                     [](const SceneFix& a, const SceneFix& b) {
                         return std::tie(a.entity, a.time) < std::tie(b.entity, b.time);
                     });
    for (const Stay& stay : town.stays) {
        const bool goesOn = !scene.stays.empty() && scene.stays.back().entity == stay.entity &&
                            stay.fromMs - scene.stays.back().to < kMinute &&
                            scene.stays.back().lat == stay.lat &&
                            scene.stays.back().lon == stay.lon;
        if (goesOn) {
            scene.stays.back().to = stay.toMs;
        } else {
            scene.stays.push_back({stay.entity, stay.fromMs, stay.toMs, stay.lat, stay.lon});
        }
    }
    return scene;
}

} // namespace world
