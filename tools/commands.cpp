#include "tools/commands.h"

#include "tools/CsvReader.h"
#include "tools/FixColumns.h"
#include "tools/Horizon.h"
#include "tools/Input.h"
#include "tools/Interrupt.h"
#include "tools/Job.h"
#include "tools/Output.h"
#include "tools/ResultWriter.h"
#include "tools/Setup.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <sys/resource.h>
#include <vector>

namespace host {

namespace {

using Clock = std::chrono::steady_clock;

double peakMemoryMiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

/// One pass over one input.
class Run {
public:
    explicit Run(const Options& options)
        : input_(options.file), setup_(options), output_("-"), writer_(output_),
          job_(makeJob(options, setup_, writer_)) {
        if (options.command != Command::boxes) {
            horizon_ = makeHorizon(input_, options);
        }
    }

    ExitCode operator()() {
        std::optional<Failure> trouble;
        try {
            processInput();
        } catch (const Failure& failure) {
            trouble = failure; // what came before still counts
        }
        job_->end();
        output_.flush();
        summarize();
        if (trouble) {
            throw *trouble;
        }
        return interrupted() ? ExitCode::interrupted
               : rejected_   ? ExitCode::someRejected
                             : ExitCode::done;
    }

private:
    void processInput() {
        CsvReader reader(input_);
        if (reader.next()) {
            const FixColumns columns(reader);
            job_->begin();
            processRows(reader, columns);
        } else if (!interrupted()) {
            throw Failure(ExitCode::broken, input_.name() + " is empty: not even a header");
        }
    }

    void processRows(CsvReader& reader, const FixColumns& columns) {
        for (; !interrupted() && reader.next(); ++rows_) {
            const std::string fault = process(reader, columns);
            if (!fault.empty()) {
                ++rejected_;
                std::fprintf(stderr, "qorvel: %s, line %llu: %s (row skipped)\n",
                             input_.name().c_str(), static_cast<unsigned long long>(reader.line()),
                             fault.c_str());
            }
            collect();
            if (reader.isDrained() && !input_.isRepeatable()) {
                output_.flush(); // whoever watches a live input sees its results
            }
        }
    }

    /// Returns why the row was not processed, or an empty text.
    std::string process(const CsvReader& reader, const FixColumns& columns) {
        std::string fault = columns.read(reader, fix_);
        if (fault.empty() && horizon_ && !horizon_->admits(rows_, fix_.time)) {
            fault = "farther behind the newest row than --late allows";
        }
        if (fault.empty()) {
            fault = setup_.makeEvent(fix_, event_);
        }
        if (fault.empty()) {
            job_->take(event_, fix_.entity);
        }
        return fault;
    }

    /// Lets the library forget what no row to come can count. Each pass over its series is worth
    /// it only when time has moved on by a whole look-back.
    void collect() {
        if (!horizon_) {
            return;
        }
        const std::int64_t needless = horizon_->oldestToCome() - setup_.lookBack();
        if (needless - setup_.lookBack() >= collected_) {
            job_->collect(needless);
            collected_ = needless;
        }
    }

    void summarize() const {
        const std::chrono::duration<double> seconds = Clock::now() - start_;
        std::fprintf(stderr,
                     "qorvel: %s%llu rows read, %llu processed, %llu rejected, %llu results, "
                     "%.3f seconds, peak memory %.1f MiB\n",
                     interrupted() ? "interrupted: " : "", static_cast<unsigned long long>(rows_),
                     static_cast<unsigned long long>(rows_ - rejected_),
                     static_cast<unsigned long long>(rejected_),
                     static_cast<unsigned long long>(writer_.count()), seconds.count(),
                     peakMemoryMiB());
    }

    const Clock::time_point start_ = Clock::now();
    Input input_;
    Setup setup_;
    Output output_;
    ResultWriter writer_;
    std::unique_ptr<Job> job_;
    std::unique_ptr<Horizon> horizon_; ///< none for a job that remembers nothing
    Fix fix_;
    Event event_;
    std::uint64_t rows_ = 0;
    std::uint64_t rejected_ = 0;
    std::int64_t collected_ = 0;
};

/// Writes a table of the world; an interrupt ends it early.
template <typename Row>
void writeTable(const world::World& world, const std::string& file, const char* header,
                const std::vector<Row>& rows) {
    Output output(file);
    output.row() += header;
    output.endRow();
    for (const Row& row : rows) {
        if (interrupted()) {
            break;
        }
        world::appendRow(output.row(), world, row);
        output.endRow();
    }
    output.flush();
}

} // namespace

ExitCode runMovement(const Options& options) {
    return Run(options)();
}

ExitCode runSynth(const Options& options) {
    const world::World world = world::makeWorld(options.world);
    writeTable(world, options.tracksFile, world::kFixHeader, world.fixes);
    if (!options.truthFile.empty()) {
        writeTable(world, options.truthFile, world::kStayHeader, world.stays);
    }
    return interrupted() ? ExitCode::interrupted : ExitCode::done;
}

} // namespace host
