#ifndef QORVEL_ENGINE_RUN_DETAIL_PIPELINE_H
#define QORVEL_ENGINE_RUN_DETAIL_PIPELINE_H

#include "engine/analysis/Analysis.h"
#include "engine/run/SessionOptions.h"
#include "engine/run/detail/Batch.h"
#include "engine/run/detail/Counters.h"
#include "engine/run/detail/ResultQueue.h"

#include "qorvel/model/Event.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace qorvel_engine::detail {

/// Takes batches through an analysis with several threads. Entities are spread over lanes, of which
/// there are more than threads; a lane takes its rows batch after batch, in whichever thread is
/// free. Results are handed over in the order of the input: they do not depend on the number of
/// threads.
///
/// The calling thread helps when enough is under way; with one thread it does all. An exception in
/// any thread ends all work.
class Pipeline {
public:
    /// Analysis and counters must outlive it. Throws the Fault `tooLarge` where the system gives no
    /// thread.
    Pipeline(Analysis& analysis, const SessionOptions& options, Counters& counters);
    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;
    ~Pipeline();

    /// What entities are called, before the first batch.
    void setNames(std::shared_ptr<const EntityNames> names) { maker_.setNames(std::move(names)); }

    /// An empty batch, to be filled by the caller.
    std::unique_ptr<Batch> freeBatch();

    /// Processes a batch, soon. False if the work has ended early.
    bool add(std::unique_ptr<Batch> batch);

    /// Until nothing is under way. False if the work has ended early.
    bool flush();

    /// What shards and analysis know only at the end, after flush().
    LastResults finish();

    /// Ends all work with an exception, if it is the first of all.
    void fail(std::exception_ptr trouble) noexcept;

    /// Throws if an exception has ended the work: first that one, then the Fault `misuse`.
    void expectUnharmed();

    /// Throws the Fault `cancelled` after cancel().
    void expectWanted() const;

    std::optional<ResultBatch> takeResults() { return results_.take(); }
    bool hasResults() const { return !results_.isEmpty(); }
    const ResultMaker& maker() const { return maker_; }

    // While nothing is under way:

    using Shards = std::vector<std::unique_ptr<Shard>>;

    /// As many as it has; entities come to them by their numbers' remainders.
    Shards makeShards() const;
    void setShards(Shards shards) noexcept;
    std::size_t shardCount() const { return lanes_.size(); }
    Shard& shard(std::size_t number) const { return *lanes_[number].shard; }
    void forgetReportedBefore(std::int64_t time);

    /// From any thread, or a signal's handler.
    void cancel() noexcept { isCancelled_ = true; }

private:
    struct Lane {
        std::unique_ptr<Shard> shard;
        qorvel::Event event;        ///< the current one
        std::deque<Batch*> batches; ///< in which it has something to do, the oldest first
        bool isBusy = false;
        std::size_t worker =
            0; ///< who was at work on it last: what it keeps is in that one's caches
    };
    using Lock = std::unique_lock<std::mutex>;

    void startThreads(unsigned threads);
    void endThreads() noexcept;
    void runThread(std::size_t worker);
    bool isOver() const { return trouble_ != nullptr || isCancelled_; }
    void enqueue(std::unique_ptr<Batch> batch);
    bool workUntil(Lock& lock, std::size_t mostInFlight);
    bool doTask(Lock& lock, std::size_t worker);
    bool handOverOldest(Lock& lock);
    bool advanceLane(Lock& lock, std::size_t worker);
    Lane* laneToAdvance(std::size_t worker);
    bool process(Batch& batch, std::size_t lane);
    bool processTable(Batch& batch, std::size_t lane, TableFinder& finder);
    bool processEntries(Batch& batch, std::size_t lane);
    void handOver(Batch& batch);
    ResultBatch resultsOf(Batch& batch) const;
    void appendCollected(const Batch& batch, std::size_t number, ResultBatch& results) const;
    void show(Batch& batch, ResultBatch& results);
    void releaseOwners();

    Analysis& analysis_;
    const std::shared_ptr<const Renderer> renderer_;
    ResultMaker maker_;
    const double defaultTolerance_;
    const std::uint32_t timeTolerance_;
    const std::size_t mostInFlight_;
    Counters& counters_;
    ResultQueue results_;
    std::atomic<bool> isCancelled_ = false;

    std::mutex mutex_; ///< guards what follows, but for a batch or lane that one is at work on
    std::condition_variable changed_;
    std::vector<Lane> lanes_;
    std::deque<std::unique_ptr<Batch>> inFlight_; ///< the oldest first
    std::uint64_t nextNumber_ = 0;
    std::vector<std::unique_ptr<Batch>> free_; ///< with the owners of their columns, until a call
    bool isHandingOver_ = false;
    bool hasEnded_ = false;
    std::exception_ptr trouble_;
    bool isTroubleTold_ = false;

    std::vector<std::thread> threads_;
};

} // namespace qorvel_engine::detail

#endif
