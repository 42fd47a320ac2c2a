#include "engine/run/detail/Pipeline.h"

#include "engine/columns/Fault.h"
#include "engine/run/detail/EventMaker.h"

#include "qorvel/facade/StbThreadException.h"

#include <algorithm>
#include <string>
#include <system_error>
#include <utility>

namespace qorvel_engine::detail {

namespace {

/// So many that no thread waits for long while another finishes a large one.
constexpr std::size_t kLanesPerThread = 4;

/// A row's work takes about as long as memory that is far takes to come.
constexpr std::size_t kRowsAhead = 12;

/// The calling thread among those at work.
constexpr std::size_t kCaller = 0;

/// Rows of a table between two looks whether to go on.
constexpr std::size_t kRowsAtOnce = 128;

std::size_t laneCount(unsigned threads) {
    return threads == 1 ? 1 : threads * kLanesPerThread;
}

/// With one thread a batch is finished before the next is taken in.
std::size_t mostInFlight(unsigned threads) {
    return threads == 1 ? 1 : 2 * std::size_t{threads} + 2;
}

/// For hosts, who know but the engine's exceptions.
[[noreturn]] void rethrow(const std::exception_ptr& trouble) {
    try {
        std::rethrow_exception(trouble);
    } catch (const qorvel::StbThreadException&) {
        throw Fault(FaultCode::internal, "A lock of the library was abandoned.");
    }
}

} // namespace

Pipeline::Pipeline(Analysis& analysis, const SessionOptions& options, Counters& counters)
    : analysis_(analysis), renderer_(options.renderer), maker_(analysis, renderer_.get()),
      defaultTolerance_(options.defaultTolerance), timeTolerance_(options.timeTolerance),
      mostInFlight_(mostInFlight(options.threads)), counters_(counters),
      lanes_(laneCount(options.threads)) {
    for (Lane& lane : lanes_) {
        lane.shard = analysis.makeShard();
    }
    analysis.watch(isCancelled_);
    analysis.useThreads(options.threads);
    startThreads(options.threads);
}

Pipeline::~Pipeline() {
    endThreads();
}

void Pipeline::startThreads(unsigned threads) {
    try {
        for (unsigned thread = 1; thread < threads; ++thread) {
            threads_.emplace_back(&Pipeline::runThread, this, std::size_t{thread});
        }
    } catch (const std::system_error&) {
        endThreads();
        throw Fault(FaultCode::tooLarge,
                    "The system gives no " + std::to_string(threads) + " threads; ask for fewer.");
    } catch (...) {
        endThreads();
        throw;
    }
}

void Pipeline::endThreads() noexcept {
    {
        const Lock lock(mutex_);
        hasEnded_ = true;
    }
    changed_.notify_all();
    for (std::thread& thread : threads_) {
        thread.join();
    }
    threads_.clear();
}

void Pipeline::runThread(std::size_t worker) {
    try {
        Lock lock(mutex_);
        while (!hasEnded_ && !isOver()) {
            if (!doTask(lock, worker)) {
                changed_.wait(lock);
            }
        }
        changed_.notify_all(); // the caller may wait for what is not done any more
    } catch (...) {
        fail(std::current_exception());
    }
}

std::unique_ptr<Batch> Pipeline::freeBatch() {
    std::unique_ptr<Batch> batch;
    {
        const Lock lock(mutex_);
        if (!free_.empty()) {
            batch = std::move(free_.back());
            free_.pop_back();
        }
    }
    if (batch == nullptr) {
        return std::make_unique<Batch>(lanes_.size(), maker_);
    }
    batch->owner.reset();
    batch->clear();
    return batch;
}

bool Pipeline::add(std::unique_ptr<Batch> batch) {
    Lock lock(mutex_);
    enqueue(std::move(batch));
    return workUntil(lock, mostInFlight_ - 1);
}

bool Pipeline::flush() {
    Lock lock(mutex_);
    return workUntil(lock, 0);
}

Pipeline::Shards Pipeline::makeShards() const {
    Shards shards;
    while (shards.size() < lanes_.size()) {
        shards.push_back(analysis_.makeShard());
    }
    return shards;
}

void Pipeline::setShards(Shards shards) noexcept {
    for (std::size_t lane = 0; lane < lanes_.size(); ++lane) {
        lanes_[lane].shard = std::move(shards[lane]);
    }
}

void Pipeline::forgetReportedBefore(std::int64_t time) {
    for (Lane& lane : lanes_) {
        lane.shard->forgetReportedBefore(time);
    }
}

LastResults Pipeline::finish() {
    LastResults results(maker_.makeTable());
    for (Lane& lane : lanes_) {
        lane.shard->finish(results);
    }
    analysis_.finish(*maker_.names(), results);
    return results;
}

void Pipeline::fail(std::exception_ptr trouble) noexcept {
    const Lock lock(mutex_);
    if (trouble_ == nullptr) {
        trouble_ = std::move(trouble);
    }
    changed_.notify_all();
}

void Pipeline::expectUnharmed() {
    const Lock lock(mutex_);
    if (trouble_ != nullptr) {
        if (!std::exchange(isTroubleTold_, true)) {
            rethrow(trouble_);
        }
        throw Fault(FaultCode::misuse, "The session has ended with a fault.");
    }
}

void Pipeline::expectWanted() const {
    if (isCancelled_) {
        throw Fault(FaultCode::cancelled, "The session was cancelled.");
    }
}

/// Lanes that have nothing to do with a batch are left out.
void Pipeline::enqueue(std::unique_ptr<Batch> batch) {
    Batch& added = *batch;
    added.number = nextNumber_++;
    added.lanesToCome = 0;
    inFlight_.push_back(std::move(batch));
    for (std::size_t lane = 0; lane < lanes_.size(); ++lane) {
        if (added.hasWorkFor(lane)) {
            lanes_[lane].batches.push_back(&added);
            ++added.lanesToCome;
        }
    }
    changed_.notify_all();
}

/// Helps, and waits only while others do all that there is to do.
bool Pipeline::workUntil(Lock& lock, std::size_t mostInFlight) {
    while (!isOver() && inFlight_.size() > mostInFlight) {
        if (!doTask(lock, kCaller)) {
            changed_.wait(lock);
        }
    }
    const bool goesOn = !isOver();
    lock.unlock();
    releaseOwners();
    return goesOn;
}

/// The lock is given up while the task is done. False if there is none at the moment.
bool Pipeline::doTask(Lock& lock, std::size_t worker) {
    return handOverOldest(lock) || advanceLane(lock, worker);
}

bool Pipeline::handOverOldest(Lock& lock) {
    if (isHandingOver_ || inFlight_.empty() || inFlight_.front()->lanesToCome > 0) {
        return false;
    }
    isHandingOver_ = true;
    Batch& batch = *inFlight_.front();
    lock.unlock();
    handOver(batch);
    lock.lock();
    isHandingOver_ = false;
    free_.push_back(std::move(inFlight_.front()));
    inFlight_.pop_front();
    changed_.notify_all();
    return true;
}

bool Pipeline::advanceLane(Lock& lock, std::size_t worker) {
    Lane* const lane = laneToAdvance(worker);
    if (lane == nullptr) {
        return false;
    }
    Batch& batch = *lane->batches.front();
    lane->isBusy = true;
    lane->worker = worker;
    lock.unlock();
    const bool isDone = process(batch, static_cast<std::size_t>(lane - lanes_.data()));
    lock.lock();
    lane->isBusy = false;
    if (!isDone) { // it is not handed over then
        return true;
    }
    lane->batches.pop_front();
    if (--batch.lanesToCome == 0) {
        changed_.notify_all();
    }
    return true;
}

/// The one that is farthest behind, of its own first: what another worker's lane keeps would have
/// to move from cache to cache.
Pipeline::Lane* Pipeline::laneToAdvance(std::size_t worker) {
    const auto rank = [worker](const Lane& lane) {
        return std::pair(lane.worker != worker, lane.batches.front()->number);
    };
    Lane* found = nullptr;
    for (Lane& lane : lanes_) {
        const bool hasWork = !lane.isBusy && !lane.batches.empty();
        if (hasWork && (found == nullptr || rank(lane) < rank(*found))) {
            found = &lane;
        }
    }
    return found;
}

/// False if it was cancelled before the last row.
bool Pipeline::process(Batch& batch, std::size_t lane) {
    TableFinder* const finder = lanes_[lane].shard->byTables();
    return finder != nullptr ? processTable(batch, lane, *finder) : processEntries(batch, lane);
}

/// In pieces: with many rows of configuration a batch may take long.
bool Pipeline::processTable(Batch& batch, std::size_t lane, TableFinder& finder) {
    Findings& findings = batch.shares[lane].findings;
    batch.table.readFixes(batch.columns, defaultTolerance_, timeTolerance_);
    for (std::size_t from = 0; from < batch.table.size(); from += kRowsAtOnce) {
        if (isCancelled_.load(std::memory_order_relaxed)) {
            return false;
        }
        const std::size_t to = std::min(from + kRowsAtOnce, batch.table.size());
        finder.find(batch.table, from, to, findings);
    }
    findings.endTable();
    return true;
}

/// With many specs a batch may take long.
bool Pipeline::processEntries(Batch& batch, std::size_t lane) {
    Shard& shard = *lanes_[lane].shard;
    qorvel::Event& event = lanes_[lane].event;
    Batch::Share& share = batch.shares[lane];
    const auto collect = [&](std::size_t number) {
        const Batch::Collection& collection = batch.collections[number];
        shard.collect(collection.time, share.findings.collected());
        share.findings.endCollection();
        if (collection.reportedBefore) {
            shard.forgetReportedBefore(*collection.reportedBefore);
        }
    };
    std::size_t nextCollection = 0;
    event.timeTolerance = timeTolerance_;
    const auto eidAt = [&](std::size_t place) {
        return batch.entries[share.entries[std::min(place, share.entries.size() - 1)]].eid;
    };
    for (std::size_t place = 0; place < share.entries.size(); ++place) {
        if (isCancelled_.load(std::memory_order_relaxed)) {
            return false;
        }
        shard.fetch(eidAt(place + kRowsAhead), eidAt(place + 2 * kRowsAhead / 3),
                    eidAt(place + kRowsAhead / 3));
        const std::size_t at = share.entries[place];
        batch.collectBefore(at, nextCollection, collect);
        const Batch::Entry& entry = batch.entries[at];
        event.primaryKeyId = entry.primaryKey;
        event.secondaryKeyId = entry.secondaryKey;
        event.eid = entry.eid;
        event.sequenceNumber = batch.firstRow + static_cast<std::uint64_t>(entry.at);
        setFix(event, batch.columns, entry.at, defaultTolerance_);
        share.findings.beginEntry(at);
        shard.take({event, event.sequenceNumber, entry.oldestToCome, entry.isLate}, share.findings);
        share.findings.endEntry();
    }
    batch.collectBefore(batch.entries.size(), nextCollection, collect);
    return true;
}

void Pipeline::handOver(Batch& batch) {
    ResultBatch results = resultsOf(batch);
    show(batch, results);
    Counters::add(counters_.processed, batch.size());
    if (results.size > 0) {
        Counters::add(counters_.results, results.size);
        results_.add(std::move(results));
    }
}

/// Those that one lane alone has found are moved; else they are put in order.
ResultBatch Pipeline::resultsOf(Batch& batch) const {
    const auto hasResults = [](const Batch::Share& share) { return !share.findings.isEmpty(); };
    const auto first = std::find_if(batch.shares.begin(), batch.shares.end(), hasResults);
    if (first != batch.shares.end() && !first->findings.hasCollected() &&
        std::none_of(first + 1, batch.shares.end(), hasResults)) {
        return first->findings.takeAll();
    }
    ResultBatch results = maker_.makeBatch();
    if (first != batch.shares.end()) {
        const auto collect = [&](std::size_t number) { appendCollected(batch, number, results); };
        std::size_t nextCollection = 0;
        for (std::size_t at = 0; at < batch.entries.size(); ++at) {
            batch.collectBefore(at, nextCollection, collect);
            batch.shares[batch.entries[at].lane].findings.appendTo(results, at);
        }
        batch.collectBefore(batch.entries.size(), nextCollection, collect);
    }
    return results;
}

/// Those that all lanes found in a collection, by their places.
void Pipeline::appendCollected(const Batch& batch, std::size_t number, ResultBatch& results) const {
    struct Collected {
        LastResults::Place place;
        const LastResults* results;
        std::size_t row;
    };
    std::vector<Collected> all;
    for (const Batch::Share& share : batch.shares) {
        const LastResults& collected = share.findings.collected();
        const auto [begin, end] = share.findings.ofCollection(number);
        for (std::size_t row = begin; row < end; ++row) {
            all.push_back({collected.places()[row], &collected, row});
        }
    }
    std::stable_sort(all.begin(), all.end(), [](const Collected& left, const Collected& right) {
        return left.place < right.place;
    });
    for (const Collected& one : all) {
        maker_.append(one.results->table(), one.row, results);
    }
}

/// Appends what the analysis finds in the fixes that the lanes have handed on.
void Pipeline::show(Batch& batch, ResultBatch& results) {
    const auto collect = [&](std::size_t number) {
        LastResults collected(maker_.makeTable());
        analysis_.collect(batch.collections[number].time, *maker_.names(), collected);
        for (std::size_t row = 0; row < collected.places().size(); ++row) {
            maker_.append(collected.table(), row, results);
        }
    };
    std::size_t nextCollection = 0;
    const bool hasFixes =
        std::any_of(batch.shares.begin(), batch.shares.end(),
                    [](const Batch::Share& share) { return share.findings.hasFixes(); });
    for (std::size_t at = 0; hasFixes && at < batch.entries.size(); ++at) {
        batch.collectBefore(at, nextCollection, collect);
        batch.shares[batch.entries[at].lane].findings.show(analysis_, at);
    }
    batch.collectBefore(batch.entries.size(), nextCollection, collect);
}

/// In the caller's thread, without the lock: what frees columns may be slow, or know no others.
void Pipeline::releaseOwners() {
    for (std::size_t i = 0;; ++i) {
        std::shared_ptr<const void> owner;
        const Lock lock(mutex_);
        if (i == free_.size()) {
            return;
        }
        owner.swap(free_[i]->owner);
    }
}

} // namespace qorvel_engine::detail
