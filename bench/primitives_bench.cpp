// What an event is made of: cells, texts, distances, and events by name.

#include "testing/world/Random.h"

#include "qorvel/qorvel.h"

#include <array>
#include <benchmark/benchmark.h>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

using Api = QorvelMotionProcessorAPI;

constexpr std::size_t kInputs = 1024; // a power of two, so that going round costs nothing
constexpr std::uint32_t kDepth = 60;  // 12 characters, the longest text that survives both ways

struct Point {
    double latitude;
    double longitude;
};

const std::array<Point, kInputs>& points() {
    static const auto made = [] {
        world::Random random(1, 0);
        std::array<Point, kInputs> all{};
        for (Point& point : all) {
            point = {random.between(-90.0, 90.0), random.between(-180.0, 180.0)};
        }
        return all;
    }();
    return made;
}

bool failed = false;

/// A benchmark whose subject is wrong reports an error and fails the run.
bool expectThat(bool holds, benchmark::State& state, const char* what) {
    if (!holds) {
        failed = true;
        state.SkipWithError(what);
    }
    return holds;
}

template <class Body>
void goRound(benchmark::State& state, Body body) {
    std::size_t i = 0;
    for (auto unused : state) {
        static_cast<void>(unused);
        body(i++ % kInputs);
    }
}

void pointToBox(benchmark::State& state) {
    SpaceBox box;
    UtilG2::pointToSpaceBox(0.0, 0.0, 128, box);
    if (!expectThat(box == SpaceBox(std::uint64_t{3} << 62U, 0, 128), state, "wrong cell")) {
        return;
    }
    goRound(state, [&box](std::size_t i) {
        UtilG2::pointToSpaceBox(points()[i].latitude, points()[i].longitude, kDepth, box);
        benchmark::DoNotOptimize(box);
    });
}

void pointToNearBoxes(benchmark::State& state) {
    std::array<SpaceBox, UtilG2::_NUM_NEAREST_NEIGHBORS> boxes;
    std::uint32_t count = 0;
    UtilG2::pointToSpaceBoxes(48.0, 11.0, 35, 1e6, boxes.data(), count);
    if (!expectThat(count == boxes.size(), state, "wrong neighbourhood")) {
        return;
    }
    goRound(state, [&](std::size_t i) {
        UtilG2::pointToSpaceBoxes(points()[i].latitude, points()[i].longitude, 35, 20.0,
                                  boxes.data(), count);
        benchmark::DoNotOptimize(boxes);
    });
}

std::vector<SpaceBox> boxes() {
    std::vector<SpaceBox> all;
    for (const Point& point : points()) {
        all.emplace_back(point.latitude, point.longitude, kDepth);
    }
    return all;
}

void boxToText(benchmark::State& state) {
    const std::vector<SpaceBox> inputs = boxes();
    for (const SpaceBox& box : inputs) {
        if (!expectThat(SpaceBox(box.toASCIIString()) == box, state, "a text does not lead back")) {
            return;
        }
    }
    goRound(state, [&inputs](std::size_t i) {
        benchmark::DoNotOptimize(UtilG2::spaceBoxToString(inputs[i]));
    });
}

void textToBox(benchmark::State& state) {
    std::vector<std::string> inputs;
    for (const SpaceBox& box : boxes()) {
        inputs.push_back(box.toASCIIString());
        if (!expectThat(SpaceBox(inputs.back()) == box, state, "a text does not lead back")) {
            return;
        }
    }
    SpaceBox box;
    goRound(state, [&](std::size_t i) {
        UtilG2::stringToSpaceBox(inputs[i], box);
        benchmark::DoNotOptimize(box);
    });
}

/// Distances of up to `reach` degrees: the metric has one formula below 10 km and one beyond.
void nearFilter(benchmark::State& state, double reach) {
    const bool right = UtilG2::nearFilter(48.0, 11.0, 48.0 + reach, 11.0, reach * 111320.0) &&
                       !UtilG2::nearFilter(48.0, 11.0, 48.0 + reach, 11.0, reach * 111318.0);
    if (!expectThat(right, state, "wrong distance")) {
        return;
    }
    goRound(state, [reach](std::size_t i) {
        const Point& point = points()[i];
        benchmark::DoNotOptimize(UtilG2::nearFilter(point.latitude, point.longitude,
                                                    point.latitude + reach, point.longitude + reach,
                                                    5000.0));
    });
}

std::vector<std::string> names() {
    std::vector<std::string> all;
    for (std::size_t i = 0; i < 1000; ++i) {
        all.push_back("entity-" + std::to_string(i));
    }
    return all;
}

void createEventByName(benchmark::State& state) {
    const std::vector<std::string> inputs = names();
    std::stringstream errors;
    Event event;
    std::size_t i = 0;
    for (auto unused : state) {
        static_cast<void>(unused);
        Api::createEvent("car", inputs[i], "car", 48.0, 11.0, 20.0, 1600000000000, 0, event,
                         errors);
        benchmark::DoNotOptimize(event);
        i = i + 1 == inputs.size() ? 0 : i + 1;
    }
    expectThat(EIDName::getEIDNameStr(event.eid).rfind("entity-", 0) == 0 && errors.str().empty(),
               state, "wrong event");
}

/// What event creation by name is measured by: one look-up of the same names.
void lookUpName(benchmark::State& state) {
    const std::vector<std::string> inputs = names();
    std::unordered_map<std::string, std::uint64_t> numbers;
    for (const std::string& name : inputs) {
        numbers.insert({name, numbers.size()});
    }
    std::size_t i = 0;
    for (auto unused : state) {
        static_cast<void>(unused);
        benchmark::DoNotOptimize(numbers.find(inputs[i])->second);
        i = i + 1 == inputs.size() ? 0 : i + 1;
    }
}

BENCHMARK(pointToBox);
BENCHMARK(pointToNearBoxes);
BENCHMARK(boxToText);
BENCHMARK(textToBox);
BENCHMARK_CAPTURE(nearFilter, below10km, 0.01);
BENCHMARK_CAPTURE(nearFilter, beyond10km, 1.0);
BENCHMARK(createEventByName);
BENCHMARK(lookUpName);

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::RunSpecifiedBenchmarks();
    return failed ? 1 : 0;
}
