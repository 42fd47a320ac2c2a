// What reading alone costs: read_tracks FILE [REPETITIONS]. All columns of a file of tracks are
// read and checked, into the batches that sessions take, and nothing is asked about them; on one
// thread, in processor time. Prints the rows and the median of the seconds.
#include "bench/measure.h"
#include "program/input/FixBatch.h"
#include "program/input/FixSource.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

namespace {

using namespace program;

/// How many rows are good.
std::uint64_t read(const InputOptions& options) {
    constexpr std::uint64_t kBatchRows = 4096;
    const auto source = openTracks(options);
    FixBatch batch;
    std::uint64_t rows = 0;
    for (Fix fix; source->next();) {
        if (source->read(fix).empty()) {
            if (rows++ % kBatchRows == 0) {
                batch.clear();
            }
            batch.append(fix);
        }
    }
    return rows;
}

void run(const std::string& file, int repetitions) {
    InputOptions options;
    options.names = {file};
    std::uint64_t rows = 0;
    measure::Samples seconds;
    for (int i = 0; i < repetitions; ++i) {
        const double begin = measure::threadTime();
        rows = read(options);
        seconds.push_back((measure::threadTime() - begin) * 1e-9);
    }
    std::printf("%llu %.4f\n", static_cast<unsigned long long>(rows),
                measure::spreadOf(seconds).median);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs("read_tracks FILE [REPETITIONS]\n", stderr);
        return EXIT_FAILURE;
    }
    try {
        run(argv[1], argc > 2 ? std::max(1, std::atoi(argv[2])) : 5);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
