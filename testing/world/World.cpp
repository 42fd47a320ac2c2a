#include "testing/world/World.h"

#include "program/csvText.h"
#include "testing/world/Itinerary.h"
#include "testing/world/numbered.h"

#include <algorithm>
#include <utility>

namespace world {

namespace {

enum class Kind { person, van, ship };

constexpr std::int64_t kSecondsPerDay = 86400;

/// The town's centre, and the metres of a degree there.
constexpr double kCentreLat = 54.3;
constexpr double kCentreLon = 10.15;
constexpr double kMetresPerLat = 111320.0;
constexpr double kMetresPerLon = 64959.7;

constexpr double kDegreeUnits = 1e7;
constexpr double kAccuracyUnits = 10.0;

/// To the nearest whole unit. All coordinates here are positive.
std::int64_t toUnits(double value, double unitsPerOne) {
    // NOLINTNEXTLINE(bugprone-incorrect-roundings): lround() may round otherwise elsewhere
    return static_cast<std::int64_t>(value * unitsPerOne + 0.5);
}

/// The double that a reader of the printed decimal gets.
double rounded(double value, double unitsPerOne) {
    return static_cast<double>(toUnits(value, unitsPerOne)) / unitsPerOne;
}

double toLat(Point at) {
    return rounded(kCentreLat + at.y / kMetresPerLat, kDegreeUnits);
}

double toLon(Point at) {
    return rounded(kCentreLon + at.x / kMetresPerLon, kDegreeUnits);
}

std::int64_t toMs(std::int64_t seconds) {
    return kStartMs + seconds * 1000;
}

/// Phones fall back on the cell network now and then; that is a poor fix, and marked as one.
double drawAccuracy(Random& random, Kind kind) {
    if (kind != Kind::person) {
        return random.between(4.0, 15.0);
    }
    const double draw = random.unit();
    return draw < 0.80   ? random.between(8.0, 40.0)
           : draw < 0.97 ? random.between(40.0, 120.0)
                         : random.between(300.0, 1000.0);
}

std::int64_t reportInterval(Kind kind, const Leg& leg) {
    constexpr std::int64_t kParkedFrom = std::int64_t{4} * 3600;
    switch (kind) {
    case Kind::person:
        return 60;
    case Kind::van:
        return !leg.isStay() ? 30 : leg.to - leg.from < kParkedFrom ? 60 : 600;
    case Kind::ship:
        return leg.isStay() ? 180 : 60;
    }
    return 60;
}

/// The device of one entity: reports where it is along an itinerary.
class Device {
public:
    Device(Random& random, Kind kind, std::uint32_t entity, std::vector<Fix>& fixes)
        : random_(random), kind_(kind), entity_(entity), fixes_(fixes) {}

    void report(const std::vector<Leg>& legs, std::int64_t end) {
        const std::int64_t firstReport = random_.whole(0, 59);
        std::int64_t time = legs.empty() ? end : legs.front().from + firstReport;
        for (const Leg& leg : legs) {
            bool firstOfLeg = true;
            for (; time < std::min(leg.to, end); time += pause(leg)) {
                // Indoors a phone often just repeats its last position.
                const bool repeats =
                    kind_ == Kind::person && leg.isStay() && !firstOfLeg && random_.chance(0.2);
                if (!repeats) {
                    measure(positionAt(leg, time));
                }
                send(time);
                firstOfLeg = false;
            }
        }
    }

private:
    std::int64_t pause(const Leg& leg) {
        const std::int64_t interval = reportInterval(kind_, leg);
        const std::int64_t wait = random_.whole(interval * 9 / 10, interval * 11 / 10);
        return random_.chance(0.002) ? wait + random_.whole(300, 2400) : wait; // out of coverage
    }

    void measure(Point at) {
        last_.entity = entity_;
        last_.accuracyM = rounded(drawAccuracy(random_, kind_), kAccuracyUnits);
        // At most 3.47 deviations on each axis: within kMaxErrorPerAccuracy of the truth.
        const double deviation = last_.accuracyM * 0.5;
        at.x += deviation * random_.bell();
        at.y += deviation * random_.bell();
        last_.lat = toLat(at);
        last_.lon = toLon(at);
    }

    void send(std::int64_t time) {
        const std::int64_t delay = random_.chance(0.01) ? random_.whole(60, 7200) : 0;
        last_.timeMs = toMs(time);
        last_.arrivalMs = toMs(time + delay);
        fixes_.push_back(last_);
        if (random_.chance(0.005)) { // sent twice
            fixes_.push_back(last_);
            fixes_.back().arrivalMs += random_.whole(1, 30) * 1000;
        }
    }

    Random& random_;
    Kind kind_;
    std::uint32_t entity_;
    std::vector<Fix>& fixes_;
    Fix last_;
};

void recordStays(std::vector<Stay>& stays, const std::vector<Leg>& legs, std::uint32_t entity,
                 std::int64_t end) {
    for (const Leg& leg : legs) {
        const std::int64_t to = std::min(leg.to, end);
        if (leg.isStay() && to > leg.from) {
            stays.push_back({entity, leg.place, toLat(leg.start), toLon(leg.start), leg.radius,
                             toMs(leg.from), toMs(to)});
        }
    }
}

/// Numbers the entities of each kind from 1, people first, then vans, then ships.
std::vector<std::pair<Kind, std::uint32_t>> population(std::uint32_t entities) {
    const auto share = [entities](std::uint64_t percent) {
        return static_cast<std::uint32_t>(entities * percent / 100);
    };
    const std::uint32_t vans = share(15);
    const std::uint32_t ships = share(5);
    std::vector<std::pair<Kind, std::uint32_t>> all;
    const auto add = [&all](Kind kind, std::uint32_t count) {
        for (std::uint32_t number = 1; number <= count; ++number) {
            all.emplace_back(kind, number);
        }
    };
    add(Kind::person, entities - vans - ships);
    add(Kind::van, vans);
    add(Kind::ship, ships);
    return all;
}

const char* nameOf(Kind kind) {
    return kind == Kind::person ? "person" : kind == Kind::van ? "van" : "ship";
}

Itinerary live(Kind kind, std::uint32_t number, Random& random, const Town& town,
               std::int64_t days) {
    switch (kind) {
    case Kind::van:
        return driveVan(random, town, days);
    case Kind::ship:
        return sailShip(random, numbered("anchorage", number, 2), days);
    case Kind::person:
        break;
    }
    return livePerson(random, town, numbered("home", number, 4), days);
}

void appendTrack(std::string& out, const World& world, std::uint32_t entity) {
    csv::appendField(out, world.entities[entity]);
    out += ',';
}

void appendPosition(std::string& out, double lat, double lon) {
    csv::appendDecimal(out, toUnits(lat, kDegreeUnits), 7);
    out += ',';
    csv::appendDecimal(out, toUnits(lon, kDegreeUnits), 7);
    out += ',';
}

} // namespace

World makeWorld(const WorldOptions& options, const std::function<void()>& attend) {
    World world;
    Random townChance(options.seed, 0);
    const Town town = makeTown(townChance);
    const std::int64_t end = options.days * kSecondsPerDay;
    for (const auto& [kind, number] : population(options.entities)) {
        const auto entity = static_cast<std::uint32_t>(world.entities.size());
        world.entities.push_back(numbered(nameOf(kind), number, 4));
        // One stream for each entity, by kind and number.
        Random chance(options.seed, (static_cast<std::uint64_t>(kind) + 1) << 32 | number);
        const Itinerary life = live(kind, number, chance, town, options.days);
        Device(chance, kind, entity, world.fixes).report(life.legs(), end);
        recordStays(world.stays, life.legs(), entity, end);
        attend();
    }
    std::stable_sort(world.fixes.begin(), world.fixes.end(),
                     [](const Fix& a, const Fix& b) { return a.arrivalMs < b.arrivalMs; });
    return world;
}

void appendRow(std::string& out, const World& world, const Fix& fix) {
    appendTrack(out, world, fix.entity);
    appendPosition(out, fix.lat, fix.lon);
    csv::appendInteger(out, fix.timeMs);
    out += ',';
    csv::appendDecimal(out, toUnits(fix.accuracyM, kAccuracyUnits), 1);
}

void appendRow(std::string& out, const World& world, const Stay& stay) {
    appendTrack(out, world, stay.entity);
    csv::appendField(out, stay.place);
    out += ',';
    appendPosition(out, stay.lat, stay.lon);
    csv::appendDecimal(out, toUnits(stay.radiusM, kAccuracyUnits), 1);
    out += ',';
    csv::appendInteger(out, stay.fromMs);
    out += ',';
    csv::appendInteger(out, stay.toMs);
}

} // namespace world
