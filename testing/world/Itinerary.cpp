#include "testing/world/Itinerary.h"

#include "testing/world/numbered.h"

#include <cmath>

namespace world {

namespace {

constexpr std::int64_t kMinute = 60;
constexpr std::int64_t kHour = 60 * kMinute;
constexpr std::int64_t kDay = 24 * kHour;
constexpr double kTownHalfWidth = 3000.0;

Point anywhereInTown(Random& random) {
    const double x = random.between(-kTownHalfWidth, kTownHalfWidth);
    const double y = random.between(-kTownHalfWidth, kTownHalfWidth);
    return {x, y};
}

std::vector<Place> makePlaces(Random& random, const std::string& kind, std::uint32_t count) {
    std::vector<Place> places;
    for (std::uint32_t i = 1; i <= count; ++i) {
        places.push_back({numbered(kind, i, 2), anywhereInTown(random)});
    }
    return places;
}

const Place& pick(Random& random, const std::vector<Place>& places) {
    return places[static_cast<std::size_t>(
        random.whole(0, static_cast<std::int64_t>(places.size()) - 1))];
}

/// Goes to one of the places and stays some minutes.
void visit(Itinerary& life, Random& random, const std::vector<Place>& places, double speed,
           std::int64_t fewest, std::int64_t most) {
    const Place& place = pick(random, places);
    life.go(place.at, speed);
    life.stay(place.name, life.now() + random.whole(fewest * kMinute, most * kMinute));
}

/// On foot, by bicycle or by car.
double pickSpeed(Random& random) {
    const double draw = random.unit();
    return draw < 0.4 ? 1.4 : draw < 0.7 ? 4.0 : 9.0;
}

Point randomDirection(Random& random) {
    const double x = random.between(-1.0, 1.0);
    const double y = random.between(0.1, 1.0); // never the zero vector
    const double length = std::sqrt(x * x + y * y);
    return {x / length, y / length};
}

/// A half circle there and back in one tide. The circle is drawn by its rational parameter: sine
/// and cosine differ between machines in their last bit.
Point swing(const Leg& leg, std::int64_t time) {
    constexpr std::int64_t kTide = 44712;
    const double phase = static_cast<double>(time % kTide) / static_cast<double>(kTide);
    const double s = phase < 0.5 ? 4.0 * phase - 1.0 : 3.0 - 4.0 * phase;
    const double along = leg.radius * (1.0 - s * s) / (1.0 + s * s);
    const double across = leg.radius * 2.0 * s / (1.0 + s * s);
    return {leg.start.x + along * leg.bearing.x - across * leg.bearing.y,
            leg.start.y + along * leg.bearing.y + across * leg.bearing.x};
}

void workingDay(Itinerary& life, Random& random, const Town& town, const Place& work, double speed,
                std::int64_t midnight) {
    life.go(work.at, speed);
    life.stay(work.name, midnight + random.whole(11 * kHour + 45 * kMinute, 12 * kHour));
    if (random.chance(0.5)) {
        visit(life, random, town.shops, speed, 10, 40);
        life.go(work.at, speed);
    }
    life.stay(work.name, midnight + random.whole(16 * kHour, 18 * kHour));
}

} // namespace

Point positionAt(const Leg& leg, std::int64_t time) {
    if (leg.isStay()) {
        return leg.radius > 0.0 ? swing(leg, time) : leg.start;
    }
    const double dx = leg.end.x - leg.start.x;
    const double dy = leg.end.y - leg.start.y;
    const double eastWest = dx < 0.0 ? -dx : dx;
    const double northSouth = dy < 0.0 ? -dy : dy;
    const double done = (eastWest + northSouth) * static_cast<double>(time - leg.from) /
                        static_cast<double>(leg.to - leg.from);
    if (done < eastWest) {
        return {leg.start.x + dx * (done / eastWest), leg.start.y};
    }
    const double share = northSouth > 0.0 ? (done - eastWest) / northSouth : 0.0;
    return {leg.end.x, leg.start.y + dy * share};
}

void Itinerary::stay(const std::string& place, std::int64_t until) {
    anchor(place, 0.0, {}, until);
}

void Itinerary::anchor(const std::string& place, double radius, Point bearing, std::int64_t until) {
    if (until <= now_) {
        return;
    }
    if (!legs_.empty() && legs_.back().place == place) {
        legs_.back().to = until;
    } else {
        legs_.push_back({now_, until, at_, at_, place, radius, bearing});
    }
    now_ = until;
}

void Itinerary::go(Point to, double speed) {
    const double dx = to.x - at_.x;
    const double dy = to.y - at_.y;
    const double distance = (dx < 0.0 ? -dx : dx) + (dy < 0.0 ? -dy : dy);
    const std::int64_t arrival = now_ + 1 + static_cast<std::int64_t>(distance / speed);
    legs_.push_back({now_, arrival, at_, to, "", 0.0, {}});
    now_ = arrival;
    at_ = to;
}

Town makeTown(Random& random) {
    Town town;
    town.works = makePlaces(random, "work", 12);
    town.shops = makePlaces(random, "shop", 10);
    town.gyms = makePlaces(random, "gym", 4);
    town.depot = {"depot", anywhereInTown(random)};
    return town;
}

Itinerary livePerson(Random& random, const Town& town, const std::string& home, std::int64_t days) {
    const Point homeAt = anywhereInTown(random);
    const Place& work = pick(random, town.works);
    const double speed = pickSpeed(random);
    Itinerary life(homeAt, 0);
    for (std::int64_t day = 0; day < days; ++day) {
        const std::int64_t midnight = day * kDay;
        life.stay(home, midnight + random.whole(7 * kHour, 9 * kHour));
        if (day % 7 < 5) {
            workingDay(life, random, town, work, speed, midnight);
        }
        if (random.chance(0.5)) {
            visit(life, random, town.shops, speed, 15, 50);
        }
        if (random.chance(0.35)) {
            visit(life, random, town.gyms, speed, 50, 100);
        }
        life.go(homeAt, speed);
    }
    life.stay(home, days * kDay);
    return life;
}

Itinerary driveVan(Random& random, const Town& town, std::int64_t days) {
    constexpr double kSpeed = 10.0;
    Itinerary round(town.depot.at, 0);
    std::uint32_t stops = 0;
    for (std::int64_t day = 0; day < days; ++day) {
        const std::int64_t midnight = day * kDay;
        round.stay(town.depot.name, midnight + random.whole(6 * kHour, 7 * kHour));
        while (round.now() < midnight + 16 * kHour) {
            round.go(anywhereInTown(random), kSpeed);
            const std::int64_t minutes =
                random.chance(0.7) ? random.whole(3, 10) : random.whole(20, 45);
            round.stay(numbered("stop", ++stops, 1), round.now() + minutes * kMinute);
        }
        round.go(town.depot.at, kSpeed);
    }
    round.stay(town.depot.name, days * kDay);
    return round;
}

Itinerary sailShip(Random& random, const std::string& anchorage, std::int64_t days) {
    constexpr double kSpeed = 5.0;
    const double x = random.between(6000.0, 12000.0);
    const double y = random.between(-5000.0, 5000.0);
    const Point anchorAt{x, y};
    const Point openSea{25000.0, y};
    const bool alreadyThere = random.chance(0.5);
    Itinerary voyage(alreadyThere ? anchorAt : openSea, 0);
    if (!alreadyThere) {
        voyage = Itinerary(openSea, random.whole(0, 12 * kHour));
        voyage.go(anchorAt, kSpeed);
    }
    const double radius = random.between(60.0, 150.0);
    const Point bearing = randomDirection(random);
    voyage.anchor(anchorage, radius, bearing, voyage.now() + random.whole(20 * kHour, 60 * kHour));
    if (voyage.now() < days * kDay) {
        voyage.go(openSea, kSpeed);
    }
    return voyage;
}

} // namespace world
