#ifndef QORVEL_TESTING_WORLD_ITINERARY_H
#define QORVEL_TESTING_WORLD_ITINERARY_H

#include "testing/world/Random.h"

#include <cstdint>
#include <string>
#include <vector>

namespace world {

/// Metres east and north of the town's centre.
struct Point {
    double x = 0.0;
    double y = 0.0;
};

struct Place {
    std::string name;
    Point at;
};

/// One stretch of a life, in seconds since the world's start: a stay at a place or, with an empty
/// place name, the way from one to the next.
struct Leg {
    std::int64_t from = 0;
    std::int64_t to = 0;
    Point start;
    Point end;
    std::string place;
    double radius = 0.0; ///< a stay's circle of movement about its place, metres
    Point bearing;       ///< unit vector: the middle of that circle's part that is used

    bool isStay() const { return !place.empty(); }
};

/// Where somebody on this leg is at a time within it.
Point positionAt(const Leg& leg, std::int64_t time);

/// Legs that follow one another without a gap.
class Itinerary {
public:
    Itinerary(Point at, std::int64_t time) : at_(at), now_(time) {}

    /// Stays until a time, or longer where the last leg is a stay there already; nothing happens
    /// when that time has passed.
    void stay(const std::string& place, std::int64_t until);

    /// Lies at anchor until a time, swinging with the tide.
    void anchor(const std::string& place, double radius, Point bearing, std::int64_t until);

    /// Goes along the streets, east or west first, then north or south, in metres a second.
    void go(Point to, double speed);

    std::int64_t now() const { return now_; }
    const std::vector<Leg>& legs() const { return legs_; }

private:
    Point at_;
    std::int64_t now_;
    std::vector<Leg> legs_;
};

/// What the people of the town share.
struct Town {
    std::vector<Place> works;
    std::vector<Place> shops;
    std::vector<Place> gyms;
    Place depot;
};

Town makeTown(Random& random);

/// The lives of the three kinds. They cover `days` days and may end a little later.
Itinerary livePerson(Random& random, const Town& town, const std::string& home, std::int64_t days);
Itinerary driveVan(Random& random, const Town& town, std::int64_t days);
Itinerary sailShip(Random& random, const std::string& anchorage, std::int64_t days);

} // namespace world

#endif
