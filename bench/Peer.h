#ifndef QORVEL_BENCH_PEER_H
#define QORVEL_BENCH_PEER_H

#include "bench/measure.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

/// Other libraries that solve tasks of ours. Each stands in a file of its own, which is compiled
/// where the library was found.
namespace peers {

constexpr double kEarthRadius = 6378137.0; ///< metres; the sphere of all great circles here
constexpr std::uint32_t kTextLength = 12;  ///< geohash characters, 60 bits
constexpr std::size_t kRounds = 20;        ///< times all inputs in one sample

struct Point {
    double latitude; ///< degrees
    double longitude;
};

struct Pair {
    Point from;
    Point to;
};

/// The same for everyone.
struct Inputs {
    std::vector<Point> points;
    std::vector<Pair> near; ///< within some kilometres
    std::vector<Pair> far;  ///< anywhere, but for nearly antipodal ones
};

enum class Task { cell, text, nearGreatCircle, farGreatCircle, nearGeodesic, farGeodesic };

/// One way to do one task. What the library wants its input made into is made before the clock
/// starts.
struct Contestant {
    Task task = Task::cell;
    std::string name;
    measure::Contender contender;
    /// The result for one input, so that results can be compared: text or metres, or neither where
    /// every library has its own kind of result.
    std::function<std::string(std::size_t)> text;
    std::function<double(std::size_t)> metres;
};

using Contestants = std::vector<Contestant>;

Contestants ofQorvel(const Inputs& inputs);
Contestants ofS2(const Inputs& inputs);
Contestants ofGeographicLib(const Inputs& inputs);
Contestants ofBoost(const Inputs& inputs);

/// A contestant that makes something of each of `count` inputs; `make(i)` returns it.
template <class Make>
Contestant contestant(Task task, std::string name, std::size_t count, Make make) {
    Contestant result;
    result.task = task;
    result.name = std::move(name);
    result.contender =
        measure::loop(count * kRounds, [make, i = std::size_t{0}, count](std::size_t) mutable {
            measure::keep(make(i));
            i = i + 1 == count ? 0 : i + 1;
        });
    using Result = decltype(make(std::size_t{0}));
    if constexpr (std::is_same_v<Result, std::string>) {
        result.text = make;
    } else if constexpr (std::is_same_v<Result, double>) {
        result.metres = make;
    }
    return result;
}

/// The inputs' pairs as pairs of a library's own points; `convert` makes one.
template <class Convert>
auto convertPairs(const std::vector<Pair>& pairs, Convert convert) {
    using Own = decltype(convert(Point{}));
    std::vector<std::pair<Own, Own>> result;
    result.reserve(pairs.size());
    for (const Pair& pair : pairs) {
        result.emplace_back(convert(pair.from), convert(pair.to));
    }
    return result;
}

/// A distance over near and over far pairs: two contestants.
template <class Convert, class Distance>
void addDistances(Contestants& contestants, const Inputs& inputs, Task nearTask, Task farTask,
                  const std::string& name, Convert convert, Distance distance) {
    const auto add = [&](Task task, const std::vector<Pair>& pairs) {
        contestants.push_back(
            contestant(task, name, pairs.size(),
                       [own = convertPairs(pairs, convert), distance](std::size_t i) -> double {
                           return distance(own[i].first, own[i].second);
                       }));
    };
    add(nearTask, inputs.near);
    add(farTask, inputs.far);
}

} // namespace peers

#endif
