#ifndef QORVEL_TOOLS_RUN_PIPELINE_H
#define QORVEL_TOOLS_RUN_PIPELINE_H

#include "tools/output/ResultWriter.h"
#include "tools/run/Analysis.h"
#include "tools/run/Batch.h"
#include "tools/run/BatchReader.h"
#include "tools/setup/EventMaker.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace host {

/// Takes the input through an analysis with several threads. Entities are spread over shards, of
/// which there are more than threads; a shard takes its rows batch after batch, in whichever thread
/// is free. Results are written in the order of the input: the output does not depend on the number
/// of threads.
///
/// The calling thread reads, and helps when it is far enough ahead; with one thread it does all.
class Pipeline {
public:
    /// @param threads  at least 1
    Pipeline(BatchReader& reader, Analysis& analysis, ResultWriter& writer,
             const EventOptions& events, unsigned threads);
    ~Pipeline();
    Pipeline(const Pipeline&) = delete;
    Pipeline& operator=(const Pipeline&) = delete;

    /// Until the input ends, and its last results. Throws what a thread threw, after all have
    /// ended.
    void run();

    std::uint64_t resultCount() const { return results_; }

private:
    struct Lane { ///< a shard, and how far it is
        std::unique_ptr<Shard> shard;
        EventMaker maker;
        std::vector<Event> events; ///< of the batch that it is at
        std::uint64_t nextBatch = 0;
        bool isBusy = false;
    };
    using Lock = std::unique_lock<std::mutex>;

    void endAtOnceWithThreads() const;
    void readAll();
    void work();
    void runThread();
    std::unique_ptr<Batch> freeBatch();
    bool doTask(Lock& lock);
    bool writeOldest(Lock& lock);
    bool advanceShard(Lock& lock);
    std::optional<std::size_t> shardToAdvance() const;
    void process(Batch& batch, std::size_t lane);
    void makeEvents(const Batch& batch, std::size_t lane);
    void write(Batch& batch);
    void writeLastResults();
    void fail();

    BatchReader& reader_;
    Analysis& analysis_;
    ResultWriter& writer_;
    const std::size_t mostInFlight_;

    std::mutex mutex_; ///< guards what follows, but for a batch or shard that one is at work on
    std::condition_variable changed_;
    std::vector<Lane> lanes_;
    std::deque<std::unique_ptr<Batch>> inFlight_; ///< the oldest first
    std::uint64_t oldest_ = 0;                    ///< the number of the first of them
    std::vector<std::unique_ptr<Batch>> free_;
    bool isWriting_ = false;
    bool hasEnded_ = false;
    std::exception_ptr trouble_;

    std::vector<std::thread> threads_;
    std::uint64_t results_ = 0;
};

} // namespace host

#endif
