#include "bench/scenarios.h"

#include "testing/world/Random.h"

#include "qorvel/facade/QorvelMotionProcessorAPI.h"
#include "qorvel/geohash/SpaceBox.h"
#include "qorvel/geohash/UtilG2.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <stdexcept>

namespace scenarios {

namespace {

using Api = QorvelMotionProcessorAPI;

constexpr std::uint64_t kSeed = 20200913;
constexpr std::int64_t kStart = 1600000000000; // ms, 2020-09-13T12:26:40Z
constexpr std::int64_t kMinute = 60000;
constexpr std::int64_t kHour = 60 * kMinute;
constexpr double kTolerance = 20.0;           // metres
constexpr double kMaxTolerance = 100.0;       // metres
constexpr std::uint32_t kCellLength = 7;      // characters
constexpr double kRowCellSize = 360.0 / 8192; // degrees, both ways: a cell of 5 characters
constexpr std::uint32_t kRowCellDepth = 25;
constexpr double kRowRadius = 3700.0; // metres; reaches a little beyond the corners of the cell

struct Area {
    double south;
    double north;
    double west;
    double east;
};

constexpr Area kTown = {47.0, 49.0, 10.0, 12.0};

struct Position {
    double latitude;
    double longitude;
};

/// Adds a uniform step of at most `step` and turns back at the edges.
double stepWithin(world::Random& random, double value, double step, double low, double high) {
    const double next = value + random.between(-step, step);
    const double reflected = next < low ? 2 * low - next : 2 * high - next;
    return next >= low && next < high ? next : reflected;
}

/// Entities that report in turn from random walks.
struct Walkers {
    Area area;
    double step; ///< largest step of a coordinate between two reports of an entity, degrees
    std::size_t entities;
    std::int64_t interval; ///< between two reports, whosever they are, ms
};

void expectSuccess(int code, const std::stringstream& errors) {
    if (code != 0) {
        throw std::runtime_error("invalid scenario: " + errors.str());
    }
}

std::vector<Event> makeEvents(const Walkers& walkers, std::size_t count) {
    const Area& area = walkers.area;
    world::Random random(kSeed, 0);
    std::vector<Position> positions(walkers.entities);
    for (Position& at : positions) {
        at = {random.between(area.south, area.north), random.between(area.west, area.east)};
    }
    std::stringstream errors;
    std::vector<Event> events(count);
    std::int64_t time = kStart;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint64_t entity = i % walkers.entities;
        Position& at = positions[entity];
        at.latitude = stepWithin(random, at.latitude, walkers.step, area.south, area.north);
        at.longitude = stepWithin(random, at.longitude, walkers.step, area.west, area.east);
        expectSuccess(Api::createEvent("car", entity, "car", at.latitude, at.longitude, kTolerance,
                                       time, 0, events[i], errors),
                      errors);
        time += walkers.interval;
    }
    return events;
}

void addMaster(Scenario& scenario, const std::string& timeUnit, std::uint32_t timeCount = 1) {
    std::stringstream errors;
    STBMasterRow row;
    expectSuccess(Api::createSTBMasterRow("cells", kCellLength, timeCount, timeUnit, row, errors),
                  errors);
    scenario.masterRows.push_back(row);
}

void addRow(Scenario& scenario, const std::list<std::string>& geohashes, double latitude,
            double longitude, double radius) {
    std::stringstream errors;
    STBAssignmentRow row;
    expectSuccess(Api::createSTBAssignmentRow("ANY", "car", kMaxTolerance, 1, "cells", geohashes,
                                              latitude, longitude, radius, 1.0, 1.0, row, errors),
                  errors);
    scenario.assignmentRows.push_back(row);
}

void addSpec(Scenario& scenario, std::int64_t windowMillis) {
    std::stringstream errors;
    STBCompressionSpec spec;
    expectSuccess(Api::createSTBCompressionSpec("ANY", "car", "cells",
                                                static_cast<std::uint32_t>(windowMillis),
                                                "milliseconds", 5, 0.5, spec, errors),
                  errors);
    scenario.specs.push_back(spec);
}

void addWholeWorld(Scenario& scenario) {
    addRow(scenario, {}, 48.0, 11.0, 1e6);
}

Position centreOfCell(double latitude, double longitude) {
    const SpaceBox cell(latitude, longitude, kCellLength * UtilG2::_BITS_PER_GEOHASH_CHAR);
    Position centre{};
    std::stringstream errors;
    expectSuccess(Api::getCentroid(cell, centre.latitude, centre.longitude, errors), errors);
    return centre;
}

/// One entity that reports once a second and hardly moves in the middle of a cell.
std::vector<Event> standStill(std::size_t count) {
    constexpr double reach = 1e-5; // about a metre
    const auto [latitude, longitude] = centreOfCell(48.0, 11.0);
    const Area spot = {latitude - reach, latitude + reach, longitude - reach, longitude + reach};
    return makeEvents({spot, reach / 10, 1, 1000}, count);
}

std::string modeName(Mode mode) {
    return mode == Mode::boxes ? "boxes" : mode == Mode::presence ? "presence" : "hangouts";
}

} // namespace

Scenario boxesByRows(std::uint32_t side, std::size_t events) {
    Scenario scenario;
    scenario.name = "boxes/rows:" + std::to_string(side * side);
    scenario.mode = Mode::boxes;
    addMaster(scenario, "hours");
    const double south = std::floor(48.0 / kRowCellSize) * kRowCellSize;
    const double west = std::floor(11.0 / kRowCellSize) * kRowCellSize;
    for (std::uint32_t i = 0; i < side; ++i) {
        for (std::uint32_t j = 0; j < side; ++j) {
            const double latitude = south + (i + 0.5) * kRowCellSize;
            const double longitude = west + (j + 0.5) * kRowCellSize;
            const std::string cell = SpaceBox(latitude, longitude, kRowCellDepth).toASCIIString();
            addRow(scenario, {cell}, latitude, longitude, kRowRadius);
        }
    }
    const double extent = side * kRowCellSize;
    scenario.events =
        makeEvents({{south, south + extent, west, west + extent}, 0.005, 100, 600}, events);
    scenario.checkedEvents = std::min<std::size_t>(events, 20000);
    return scenario;
}

Scenario townByMinutes(Mode mode, std::int64_t hours) {
    constexpr std::size_t entities = 1000;
    Scenario scenario;
    scenario.name = modeName(mode) + "/entities:" + std::to_string(entities);
    scenario.mode = mode;
    addMaster(scenario, "days");
    addWholeWorld(scenario);
    addSpec(scenario, kHour);
    scenario.events = makeEvents({kTown, 0.0002, entities, kMinute / std::int64_t{entities}},
                                 entities * static_cast<std::size_t>(hours * 60));
    scenario.checkedEvents = entities * 130; // gc twice
    scenario.gcInterval = kHour;
    scenario.gcAge = kHour;
    return scenario;
}

Scenario standStillBySeconds(Mode mode, std::int64_t hours) {
    return fullCell(mode, 3600, static_cast<std::size_t>(hours * 3600));
}

Scenario fullCell(Mode mode, std::uint32_t items, std::size_t events) {
    Scenario scenario;
    scenario.name = modeName(mode) + "/items:" + std::to_string(items);
    scenario.mode = mode;
    const std::int64_t span = std::int64_t{items} * 1000;
    // Presence looks back over the window, hangouts over a time box.
    if (mode == Mode::hangouts) {
        addMaster(scenario, "minutes", items / 60);
    } else {
        addMaster(scenario, "days");
    }
    addWholeWorld(scenario);
    addSpec(scenario, mode == Mode::hangouts ? span / 2 : span);
    scenario.events = standStill(events);
    scenario.checkedEvents = std::min<std::size_t>(events, 4000); // the first of 3,600 items leave
    return scenario;
}

Scenario residents(Mode mode, std::size_t entities) {
    Scenario scenario;
    scenario.name = modeName(mode) + "/residents:" + std::to_string(entities);
    scenario.mode = mode;
    addMaster(scenario, "months");
    addWholeWorld(scenario);
    addSpec(scenario, 50 * kMinute);
    scenario.events = makeEvents({kTown, 0.0, entities, 0}, entities);
    for (Event& event : scenario.events) {
        const Position centre = centreOfCell(event.latitude, event.longitude);
        event.latitude = centre.latitude;
        event.longitude = centre.longitude;
    }
    scenario.gcInterval = kHour;
    scenario.gcAge = kHour;
    return scenario;
}

void repeatLater(Scenario& scenario, std::int64_t millis) {
    for (Event& event : scenario.events) {
        event.time += millis;
    }
}

} // namespace scenarios
