#include "program/commands/analysisCommand.h"

#include "engine/run/Session.h"
#include "engine/run/advice.h"
#include "program/Interrupt.h"
#include "program/commands/BatchReader.h"
#include "program/commands/OldestTimes.h"
#include "program/commands/Progress.h"
#include "program/commands/Rejects.h"
#include "program/commands/RunState.h"
#include "program/commands/RunSummary.h"
#include "program/input/FixBatch.h"
#include "program/input/FixFilter.h"
#include "program/input/FixSource.h"
#include "program/input/KeptFixes.h"
#include "program/output/TextFile.h"
#include "program/tell.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <vector>

namespace program {

namespace {

using Clock = std::chrono::steady_clock;

double peakMemoryMiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

/// The engine knows no options of a command line.
std::string sentenceOf(const Remark& remark) {
    const std::string rows = std::to_string(remark.rows) + (remark.rows == 1 ? " row" : " rows");
    switch (remark.kind) {
    case RemarkKind::late:
        return rows + " came later than --late allows; what they continue may have been forgotten";
    case RemarkKind::leftOut:
        return rows + " came later than --late allows and were left out";
    case RemarkKind::metNobody:
        return rows + " came after their time had been looked through (--late), and met nobody";
    case RemarkKind::outOfOrder:
        break;
    }
    return remark.sentence;
}

std::string optionName(std::string_view name) {
    std::string option = "--" + std::string(name);
    std::replace(option.begin(), option.end(), '_', '-');
    return option;
}

constexpr AdviceWords kAdviceWords{optionName, "--entity-column", "\"qorvel explain --row N\"",
                                   "\"qorvel check\""};

/// Are there results that come only when a silence, or the end, makes them final?
bool isKnownAtEnd(const AnalysisOptions& analysis) {
    switch (analysis.question) {
    case Question::boxes:
        return false;
    case Question::presence:
    case Question::hangouts:
        return analysis.lastFigures;
    default:
        return true;
    }
}

/// Do rows wait for older ones that may still come? Elsewhere their order means something.
bool holdsRows(Question question) {
    return question == Question::stays || question == Question::places ||
           question == Question::encounters;
}

/// A row that waits takes 48 bytes for stays and 85 for encounters.
constexpr std::uint64_t kWaitingInMiB = 1024 * 1024 / 85;

/// Bytes: 64 MiB, unless rows are to take less.
std::size_t mostKept(const RunOptions& options) {
    constexpr std::uint64_t kMostMiB = 64;
    return static_cast<std::size_t>(std::min(options.sortBeyond, kMostMiB)) << 20;
}

/// Batches of fixes for a session, which may hold several at once.
class BatchPool {
public:
    /// An empty one. That a session has let go of another is seen in the thread that pushes.
    std::shared_ptr<FixBatch> take() {
        const auto free = std::find_if(batches_.begin(), batches_.end(),
                                       [](const auto& batch) { return batch.use_count() == 1; });
        if (free == batches_.end()) {
            return batches_.emplace_back(std::make_shared<FixBatch>());
        }
        (*free)->clear();
        return *free;
    }

private:
    std::vector<std::shared_ptr<FixBatch>> batches_;
};

/// What is wrong with the configuration ends the run, what is only odd is told.
void check(const RunOptions& options) {
    if (!needsConfiguration(options.analysis.question)) {
        return;
    }
    const std::vector<ConfigFault> faults =
        checkConfig(options.config, processorKindOf(options.analysis.question));
    throwErrors(faults, options.config.file);
    for (const ConfigFault& fault : faults) {
        if (!options.isQuiet) {
            tell(describe(fault, options.config.file));
        }
    }
}

class Run {
public:
    explicit Run(const RunOptions& options)
        : options_(options), progress_(!options.isQuiet), source_(openTracks(options.input)),
          state_(options.state.file.empty() ? nullptr
                                            : std::make_unique<RunState>(options, *source_)),
          filter_(options.filter), writer_(openWriter()),
          rejects_(openRejects(), options.output.isCsvSafe, source_->isSeveral()),
          session_(openSession(options.late)), kept_(mostKept(options)), oldest_(readTimes()),
          reader_(*source_, kept_, oldest_, filter_, rejects_, progress_, options.mostRejects) {
        if (state_) {
            state_->begin(*session_, filter_, rejects_, reader_);
        } else {
            rejects_.begin();
        }
    }

    ExitCode operator()() {
        try {
            process();
        } catch (const Failure& failure) {
            saveWhatWasFound();
            throw judge(failure);
        } catch (...) {
            session_.reset(); // which gives memory back, if that is what is missing
            saveWhatWasFound();
            throw;
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
    std::unique_ptr<ResultWriter> openWriter() const {
        return state_ ? state_->makeWriter()
                      : openResultWriter(options_.output, schemaOf(options_.analysis));
    }

    std::shared_ptr<RowFile> openRejects() const {
        if (state_) {
            return state_->rejectsFile();
        }
        const std::string& file = options_.rejectsFile;
        return file.empty() ? nullptr : std::make_shared<TextFile>(file, ".csv");
    }

    /// Its threads leave interrupts to this one, which may wait for input.
    std::unique_ptr<Session> openSession(std::optional<std::int64_t> late) const {
        SessionOptions session;
        session.threads = options_.threads;
        session.defaultTolerance = options_.events.defaultTolerance;
        session.timeTolerance = options_.events.timeTolerance;
        session.late = late;
        session.forgetsReported = true;
        session.renderer = writer_->renderer();
        const InterruptsBlocked blocked;
        return std::make_unique<Session>(options_.analysis, options_.config, session);
    }

    OldestTimes readTimes() {
        const bool isWanted =
            session_->looksBack() && !options_.late && source_->isRepeatable() && !state_;
        if (!isWanted) {
            return {};
        }
        OldestTimes times(*source_, progress_, session_->ordersEntities(), kept_);
        isSorting_ = holdsRows(options_.analysis.question) &&
                     times.mostWaiting() / kWaitingInMiB >= options_.sortBeyond;
        if (isSorting_ && kept_.holdsAll()) { // the memory is for the sorting
            kept_.drop();
            source_->rewind();
        }
        if (times.lateInEntity()) { // the first session has found the options right
            session_ = openSession(isSorting_ ? 0 : times.lateInEntity());
        }
        return times;
    }

    void process() {
        if (isSorting_) {
            progress_.begin("sorting");
            reader_.sort(options_.sortBeyond);
        }
        progress_.begin("processing");
        pushAll();
        if (state_) {
            saveState();
            takeUnended();
        }
        figures_ = session_->figures();
        session_->finish();
        if (endsHere()) {
            writeResults();
            figures_ = session_->figures();
        }
        isCutOff_ = interrupted(); // one that comes later has nothing left to cut off
        progress_.clear();
        rejects_.finish();
        if (!reader_.trouble() && !isCutOff_) {
            writer_->finish();
        } else {
            abandonOutput();
        }
    }

    void pushAll() {
        BatchPool pool;
        for (;;) {
            const std::shared_ptr<FixBatch> batch = pool.take();
            if (!reader_.fill(*batch)) {
                return;
            }
            session_->push(batch->observations(), batch, reader_.oldestToCome());
            if (reader_.isLive()) {
                session_->flush();
            }
            writeResults();
            if (reader_.isLive()) {
                writer_->flush();
            }
            if (state_ && !isEnding_ && state_->isDue()) {
                saveState();
            }
        }
    }

    void saveState() {
        session_->flush();
        writeResults();
        state_->save(*session_, filter_, rejects_, reader_);
    }

    /// Behind the last state: the next run takes it back.
    void takeUnended() {
        if (endsHere()) {
            isEnding_ = true;
            source_->growing()->takeUnended();
            reader_.readOn();
            pushAll();
        }
    }

    /// Is nothing to come after this run? One that keeps a state leaves what is under way to the
    /// next, unless it is told.
    bool endsHere() const {
        return !state_ || (options_.state.finishes && !reader_.trouble() && !interrupted());
    }

    void writeResults() {
        while (const std::optional<ResultBatch> results = session_->take()) {
            writer_->write(*results);
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
        if (state_) {
            tell("the same command, started again, goes on from " + state_->name());
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
        if (options_.isQuiet && !options_.isSummaryJson) {
            return;
        }
        const RunFigures& figures = figures_;
        const std::chrono::duration<double> seconds = Clock::now() - start_;
        const RunSummary summary{isCutOff_,         reader_.rowsRead(), figures.processed,
                                 filter_.leftOut(), rejects_.count(),   figures.results,
                                 seconds.count(),   peakMemoryMiB(),    remarks(figures)};
        if (options_.isSummaryJson) {
            tellLine(summary.json());
        } else {
            for (const std::string& remark : summary.remarks) {
                tell(remark);
            }
            tell(summary.text(), Level::info);
        }
    }

    std::vector<std::string> remarks(const RunFigures& figures) const {
        std::vector<std::string> sentences = source_->assumed().remarks();
        const std::vector<std::string> filtered = filter_.remarks();
        sentences.insert(sentences.end(), filtered.begin(), filtered.end());
        for (const Remark& remark : session_->remarks()) {
            sentences.push_back(sentenceOf(remark));
        }
        if (!endsHere()) {
            if (isKnownAtEnd(options_.analysis)) {
                sentences.push_back("what is under way is kept in " + state_->name() +
                                    "; with --finish it is written, too");
            }
            return sentences;
        }
        const std::string advice = adviceOn(options_.analysis, options_.config, figures,
                                            session_->inputFigures(), kAdviceWords);
        if (!advice.empty() && !isCutOff_) {
            sentences.push_back(advice);
        }
        return sentences;
    }

    const Clock::time_point start_ = Clock::now();
    const RunOptions& options_;
    Progress progress_;
    const std::unique_ptr<FixSource> source_;
    const std::unique_ptr<RunState> state_; ///< null where none is kept
    FixFilter filter_;
    const std::unique_ptr<ResultWriter> writer_;
    Rejects rejects_;
    std::unique_ptr<Session> session_; ///< none after a fault of it
    bool isSorting_ = false;           ///< set by readTimes()
    KeptFixes kept_;                   ///< filled by readTimes()
    const OldestTimes oldest_;
    BatchReader reader_;
    bool isEnding_ = false; ///< what is read now belongs to no state
    RunFigures figures_{};
    bool isCutOff_ = false; ///< by an interrupt
};

} // namespace

ExitCode runAnalysis(const RunOptions& options) {
    check(options);
    return Run(options)();
}

} // namespace program
