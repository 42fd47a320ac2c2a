#include "bench/measure.h"

#include <algorithm>
#include <ctime>

namespace measure {

double threadTime() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

Spread spreadOf(Samples samples) {
    std::sort(samples.begin(), samples.end());
    const std::size_t half = samples.size() / 2;
    const double median =
        samples.size() % 2 == 0 ? (samples[half - 1] + samples[half]) / 2 : samples[half];
    return {median, samples.front(), samples.back()};
}

Samples ratios(const Samples& numerators, const Samples& denominators) {
    Samples result;
    for (std::size_t i = 0; i < numerators.size(); ++i) {
        result.push_back(numerators[i] / denominators[i]);
    }
    return result;
}

std::vector<Samples> inTurn(const std::vector<Contender>& contenders, std::size_t repetitions) {
    std::vector<Samples> samples(contenders.size());
    for (std::size_t repetition = 0; repetition <= repetitions; ++repetition) {
        for (std::size_t i = 0; i < contenders.size(); ++i) {
            const double time = contenders[i].run();
            if (repetition != 0) {
                samples[i].push_back(time / static_cast<double>(contenders[i].operations));
            }
        }
    }
    return samples;
}

} // namespace measure
