#ifndef QORVEL_TESTING_WORLD_RANDOM_H
#define QORVEL_TESTING_WORLD_RANDOM_H

#include <cstdint>
#include <random>

namespace world {

/// Chance with the same draws on every machine: the engine's sequence is fixed by the C++ standard,
/// the standard distributions' are not, so these are our own, with exact arithmetic only.
class Random {
public:
    /// Streams of one seed are independent of each other: an entity's track does not change when
    /// entities are added.
    Random(std::uint64_t seed, std::uint64_t stream)
        : engine_(seed * 0x9E3779B97F4A7C15U + stream) {}

    /// Uniform in [0, 1).
    double unit() { return static_cast<double>(engine_() >> 11) * 0x1p-53; }

    /// Uniform in [low, high).
    double between(double low, double high) { return low + (high - low) * unit(); }

    /// Uniform whole number in low..high, both included.
    std::int64_t whole(std::int64_t low, std::int64_t high) {
        return low +
               static_cast<std::int64_t>(engine_() % static_cast<std::uint64_t>(high - low + 1));
    }

    bool chance(double probability) { return unit() < probability; }

    /// Bell-shaped with mean 0 and deviation 1, never beyond 2 * sqrt(3): the sum of four uniforms.
    double bell() {
        double sum = -2.0;
        for (int i = 0; i < 4; ++i) {
            sum += unit();
        }
        return sum * 1.7320508075688772;
    }

private:
    std::mt19937_64 engine_;
};

} // namespace world

#endif
