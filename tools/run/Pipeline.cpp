#include "tools/run/Pipeline.h"

#include "tools/Failure.h"
#include "tools/Interrupt.h"
#include "tools/tell.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <utility>

namespace host {

namespace {

/// So many that no thread waits for long while another finishes a large one.
constexpr std::size_t kShardsPerThread = 4;

std::size_t shardCount(unsigned threads) {
    return threads == 1 ? 1 : threads * kShardsPerThread;
}

/// With one thread a batch is finished before the next is read.
std::size_t mostInFlight(unsigned threads) {
    return threads == 1 ? 1 : 2 * std::size_t{threads} + 2;
}

} // namespace

Pipeline::Pipeline(BatchReader& reader, Analysis& analysis, ResultWriter& writer,
                   const EventOptions& events, unsigned threads)
    : reader_(reader), analysis_(analysis), writer_(writer), mostInFlight_(mostInFlight(threads)) {
    for (std::size_t lane = 0; lane < shardCount(threads); ++lane) {
        lanes_.push_back({analysis.makeShard(), EventMaker(events), {}});
    }
    for (unsigned thread = 1; thread < threads; ++thread) {
        threads_.emplace_back(&Pipeline::runThread, this);
    }
}

Pipeline::~Pipeline() {
    {
        const Lock lock(mutex_);
        hasEnded_ = true;
    }
    changed_.notify_all();
    for (std::thread& thread : threads_) {
        if (thread.joinable()) {
            thread.join();
        }
    }
}

void Pipeline::run() {
    try {
        readAll();
        work();
    } catch (const Failure&) {
        fail();
    } catch (...) {
        endAtOnceWithThreads();
        fail();
    }
    for (std::thread& thread : threads_) {
        thread.join();
    }
    if (trouble_) {
        std::rethrow_exception(trouble_);
    }
    writeLastResults();
}

/// Called while an exception of the library is handled: it may have left its lock with this thread,
/// and other threads would wait for that until this one ends.
void Pipeline::endAtOnceWithThreads() const {
    if (!threads_.empty()) {
        tell("out of memory, or the library failed");
        std::_Exit(static_cast<int>(ExitCode::broken));
    }
}

/// Reads, and does other work while enough is read.
void Pipeline::readAll() {
    for (bool hasMore = true; hasMore;) {
        std::unique_ptr<Batch> batch = freeBatch();
        hasMore = reader_.fill(*batch);
        Lock lock(mutex_);
        if (hasMore) {
            batch->shardsToCome = lanes_.size();
            inFlight_.push_back(std::move(batch));
            changed_.notify_all();
        }
        while (!trouble_ && inFlight_.size() >= mostInFlight_) {
            if (!doTask(lock)) {
                changed_.wait(lock);
            }
        }
        hasMore = hasMore && !trouble_;
    }
    const Lock lock(mutex_);
    hasEnded_ = true;
    changed_.notify_all();
}

/// Until all that was read is written.
void Pipeline::work() {
    Lock lock(mutex_);
    while (!trouble_ && !(hasEnded_ && inFlight_.empty())) {
        if (!doTask(lock)) {
            changed_.wait(lock);
        }
    }
}

void Pipeline::runThread() {
    leaveInterruptsToOthers();
    try {
        work();
    } catch (...) {
        fail();
    }
}

std::unique_ptr<Batch> Pipeline::freeBatch() {
    const Lock lock(mutex_);
    if (free_.empty()) {
        auto batch = std::make_unique<Batch>();
        batch->entriesOf.resize(lanes_.size());
        batch->findings.assign(lanes_.size(), Findings(writer_));
        return batch;
    }
    std::unique_ptr<Batch> batch = std::move(free_.back());
    free_.pop_back();
    return batch;
}

/// The lock is given up while the task is done. False if there is none at the moment.
bool Pipeline::doTask(Lock& lock) {
    return writeOldest(lock) || advanceShard(lock);
}

bool Pipeline::writeOldest(Lock& lock) {
    if (isWriting_ || inFlight_.empty() || inFlight_.front()->shardsToCome > 0) {
        return false;
    }
    isWriting_ = true;
    Batch& batch = *inFlight_.front();
    lock.unlock();
    write(batch);
    lock.lock();
    isWriting_ = false;
    free_.push_back(std::move(inFlight_.front()));
    inFlight_.pop_front();
    ++oldest_;
    changed_.notify_all();
    return true;
}

bool Pipeline::advanceShard(Lock& lock) {
    const std::optional<std::size_t> lane = shardToAdvance();
    if (!lane) {
        return false;
    }
    Lane& chosen = lanes_[*lane];
    Batch& batch = *inFlight_[chosen.nextBatch - oldest_];
    chosen.isBusy = true;
    lock.unlock();
    process(batch, *lane);
    lock.lock();
    chosen.isBusy = false;
    ++chosen.nextBatch;
    if (--batch.shardsToCome == 0) {
        changed_.notify_all();
    }
    return true;
}

/// The one that is farthest behind.
std::optional<std::size_t> Pipeline::shardToAdvance() const {
    std::optional<std::size_t> found;
    for (std::size_t lane = 0; lane < lanes_.size(); ++lane) {
        const Lane& candidate = lanes_[lane];
        const bool hasWork = !candidate.isBusy && candidate.nextBatch < oldest_ + inFlight_.size();
        if (hasWork && (!found || candidate.nextBatch < lanes_[*found].nextBatch)) {
            found = lane;
        }
    }
    return found;
}

void Pipeline::process(Batch& batch, std::size_t lane) {
    makeEvents(batch, lane);
    Lane& own = lanes_[lane];
    Findings& findings = batch.findings[lane];
    findings.clear();
    const auto collect = [&own](std::int64_t time) { own.shard->collect(time); };
    std::size_t nextCollection = 0;
    auto event = own.events.begin();
    for (const std::size_t at : batch.entriesOf[lane]) {
        batch.collectBefore(at, nextCollection, collect);
        findings.beginEntry(at);
        own.shard->take({batch.entries[at].fix, *event++, batch.entries[at].row}, findings);
    }
    batch.collectBefore(batch.size, nextCollection, collect);
}

/// The library registers names under one lock. It is taken once for all: one by one, the threads
/// would wait for each other at every event.
void Pipeline::makeEvents(const Batch& batch, std::size_t lane) {
    Lane& own = lanes_[lane];
    own.events.resize(batch.entriesOf[lane].size());
    const std::lock_guard lock(*QorvelMotionProcessorAPI::__stbMutex);
    auto event = own.events.begin();
    for (const std::size_t at : batch.entriesOf[lane]) {
        const std::string tags = own.maker.make(batch.entries[at].fix, *event++);
        if (!tags.empty()) {
            throw Failure(ExitCode::broken, "the library refuses a row that passed: " + tags);
        }
    }
}

void Pipeline::write(Batch& batch) {
    const auto collect = [this](std::int64_t time) { analysis_.collect(time); };
    std::vector<std::size_t> laneOf(batch.size);
    for (std::size_t lane = 0; lane < lanes_.size(); ++lane) {
        for (const std::size_t at : batch.entriesOf[lane]) {
            laneOf[at] = lane;
        }
    }
    std::size_t nextCollection = 0;
    for (std::size_t at = 0; at < batch.size; ++at) {
        batch.collectBefore(at, nextCollection, collect);
        results_ += batch.findings[laneOf[at]].handOver(at, writer_, analysis_);
    }
    batch.collectBefore(batch.size, nextCollection, collect);
    if (batch.isLive) {
        writer_.flush();
    }
}

void Pipeline::writeLastResults() {
    std::vector<LastResult> results;
    for (const Lane& lane : lanes_) {
        lane.shard->finish(results);
    }
    analysis_.finish(results);
    std::stable_sort(results.begin(), results.end(),
                     [](const LastResult& left, const LastResult& right) {
                         return std::pair(left.order, left.row) < std::pair(right.order, right.row);
                     });
    std::string text;
    for (const LastResult& last : results) {
        if (writer_.isText()) {
            text.clear();
            writer_.append(text, last.result);
            writer_.writeText(text);
        } else {
            writer_.writeRow(last.result);
        }
    }
    results_ += results.size();
}

/// Keeps the exception that is being handled, if it is the first, and ends all work.
void Pipeline::fail() {
    const Lock lock(mutex_);
    if (!trouble_) {
        trouble_ = std::current_exception();
    }
    changed_.notify_all();
}

} // namespace host
