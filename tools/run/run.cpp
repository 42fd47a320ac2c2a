#include "tools/run/run.h"

#include "tools/Interrupt.h"
#include "tools/input/FixSource.h"
#include "tools/output/TextFile.h"
#include "tools/run/BatchReader.h"
#include "tools/run/Horizon.h"
#include "tools/run/Pipeline.h"
#include "tools/run/Progress.h"
#include "tools/run/Rejects.h"
#include "tools/tell.h"

#include <chrono>
#include <cstdio>
#include <memory>
#include <sys/resource.h>

namespace host {

namespace {

using Clock = std::chrono::steady_clock;

double peakMemoryMiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

unsigned long long printable(std::uint64_t value) {
    return value;
}

class Run {
public:
    Run(const RunOptions& options, Analysis& analysis)
        : options_(options), analysis_(analysis), progress_(!options.isQuiet),
          source_(openFixSource(options.input)),
          writer_(openResultWriter(options.output, analysis.schema())),
          rejects_(options.rejectsFile, options.output.isCsvSafe), horizon_(horizonFor(analysis)),
          reader_(*source_, horizon_.get(), analysis.lookBack(), rejects_, progress_,
                  options.isStrict),
          pipeline_(reader_, analysis, *writer_, options.events, options.threads) {}

    ExitCode operator()() {
        try {
            process();
        } catch (const Failure& failure) {
            saveWhatWasFound();
            throw judge(failure);
        }
        summarize();
        if (reader_.trouble()) {
            throw Failure(*reader_.trouble());
        }
        return isCutOff_              ? ExitCode::interrupted
               : rejects_.count() > 0 ? ExitCode::someRejected
                                      : ExitCode::done;
    }

private:
    std::unique_ptr<Horizon> horizonFor(const Analysis& analysis) {
        return analysis.lookBack() < 0 ? nullptr : makeHorizon(*source_, options_.late, progress_);
    }

    void process() {
        progress_.begin("processing");
        pipeline_.run();
        isCutOff_ = interrupted(); // one that comes later has nothing left to cut off
        progress_.clear();
        rejects_.finish();
        if (!reader_.trouble() && !isCutOff_) {
            writer_->finish();
        } else {
            abandonOutput();
        }
    }

    /// After a failure that is still to be told.
    void saveWhatWasFound() {
        progress_.clear();
        abandonOutput();
        try {
            rejects_.finish();
        } catch (const Failure&) { // one is enough
        }
    }

    void abandonOutput() {
        const std::string partial = reader_.rowsRead() > 0 ? writer_->abandon() : "";
        if (!partial.empty()) {
            tell("what was found up to there is in " + partial);
        }
    }

    /// That nobody reads standard output on is a fault when results go elsewhere.
    Failure judge(const Failure& failure) const {
        const bool isFault =
            failure.code() == ExitCode::readerGone && !isStandardOutput(options_.output.file);
        return isFault ? Failure(ExitCode::broken, failure.what()) : failure;
    }

    void summarize() const {
        if (options_.isQuiet) {
            return;
        }
        for (const std::string& remark : source_->remarks()) {
            tell(remark);
        }
        for (const std::string& remark : analysis_.remarks()) {
            tell(remark);
        }
        if (reader_.rowsOutOfOrder() > 0 && analysis_.dependsOnOrder()) {
            tell("at least " + std::to_string(reader_.rowsOutOfOrder()) +
                 " rows are older than one of their entity before them; sorted by time they may "
                 "give other results");
        }
        if (reader_.rowsLate() > 0) {
            tell(std::to_string(reader_.rowsLate()) +
                 " rows came later than --late allows; what they continue may have been forgotten");
        }
        const std::chrono::duration<double> seconds = Clock::now() - start_;
        std::fprintf(stderr,
                     "qorvel: %s%llu rows read, %llu processed, %llu rejected, %llu results, "
                     "%.3f seconds, peak memory %.1f MiB\n",
                     isCutOff_ ? "interrupted: " : "", printable(reader_.rowsRead()),
                     printable(reader_.rowsProcessed()), printable(rejects_.count()),
                     printable(pipeline_.resultCount()), seconds.count(), peakMemoryMiB());
    }

    const Clock::time_point start_ = Clock::now();
    const RunOptions& options_;
    Analysis& analysis_;
    Progress progress_;
    std::unique_ptr<FixSource> source_;
    std::unique_ptr<ResultWriter> writer_;
    Rejects rejects_;
    std::unique_ptr<Horizon> horizon_; ///< none where nothing is remembered
    BatchReader reader_;
    Pipeline pipeline_;
    bool isCutOff_ = false; ///< by an interrupt
};

} // namespace

ExitCode run(const RunOptions& options, Analysis& analysis) {
    return Run(options, analysis)();
}

} // namespace host
