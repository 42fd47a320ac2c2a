#ifndef QORVEL_BENCH_MEASURE_H
#define QORVEL_BENCH_MEASURE_H

#include <cstddef>
#include <functional>
#include <vector>

/// Time as the goals are measured in it: of this thread's processor, so that others on the machine
/// cost cache and clock rate but are not counted themselves.
namespace measure {

/// Processor time of the calling thread so far, ns. A call takes about a microsecond, so time what
/// takes much longer.
double threadTime();

/// What one contender took in each repetition, ns per operation.
using Samples = std::vector<double>;

struct Spread {
    double median;
    double low;
    double high;
};

/// The samples must not be empty.
Spread spreadOf(Samples samples);

/// Sample by sample, so that a slow spell of the machine falls on both sides of a ratio.
Samples ratios(const Samples& numerators, const Samples& denominators);

/// One contender: does `operations` operations and returns the ns that they took in sum.
struct Contender {
    std::size_t operations;
    std::function<double()> run;
};

/// Lets the contenders run one after the other, `repetitions` times, after one round that warms up
/// and does not count. Result: samples of each contender.
std::vector<Samples> inTurn(const std::vector<Contender>& contenders, std::size_t repetitions);

/// A contender that is nothing but a loop: `body(i)` for i below `operations`.
template <class Body>
Contender loop(std::size_t operations, Body body) {
    return {operations, [operations, body]() mutable {
                const double start = threadTime();
                for (std::size_t i = 0; i < operations; ++i) {
                    body(i);
                }
                return threadTime() - start;
            }};
}

/// Makes the compiler believe that the value is read.
template <class Value>
void keep(const Value& value) {
    asm volatile("" : : "g"(&value) : "memory");
}

} // namespace measure

#endif
