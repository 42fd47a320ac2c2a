#ifndef QORVEL_PYTHON_PYSESSION_H
#define QORVEL_PYTHON_PYSESSION_H

#include "engine/run/Session.h"
#include "src/Attention.h"
#include "src/Results.h"
#include "src/Source.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <nanobind/nanobind.h>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace qorvel_python {

/// A session of the engine for Python: works without Python's lock, and looks up now and then
/// whether the user wants it to end. What belongs to Python is touched with the lock only.
class PySession {
public:
    /// See readSettings.
    PySession(const std::string& question, const nanobind::dict& settings);
    PySession(const PySession&) = delete;
    PySession& operator=(const PySession&) = delete;
    /// In a process that was forked off, the threads of the session are not there to be waited for:
    /// what it has is then left to the end of the process.
    ~PySession();

    /// Takes all rows of the source in, whose columns have been chosen.
    ///
    /// @param isWhole  all batches are read before the first is processed: then it is known how old
    ///                 rows to come can be, and they may be in any order
    /// @param tell     called now and then with the rows processed and those known of, or None
    void push(Source& source, bool isWhole, const nanobind::object& tell);

    /// All that was pushed is then processed.
    void flush();

    /// See the engine's session; entities are told by their names. What was not taken is a Fault.
    nanobind::bytes save();
    void load(const nanobind::bytes& state);
    nanobind::bytes takeEntities(const std::vector<std::string>& names);
    void giveEntities(const nanobind::bytes& state);

    /// No row to come has an earlier time, ms since 1970 UTC: what is final by that can be taken.
    void advance(std::int64_t oldestToCome);
    /// See the engine's session.
    void forgetReportedBefore(std::int64_t time);
    std::size_t entitiesRemembered();

    /// After the last row.
    void finish(const nanobind::object& tell);

    /// What is final and was not taken before.
    std::unique_ptr<Results> takeResults();
    /// The same of rows that could not be used.
    std::unique_ptr<Results> takeRejects();

    /// After `finish`; with advice on an answer that is empty.
    std::vector<std::string> remarks();

    /// Rows pushed, processed, rejected and late, those out of order, and results.
    nanobind::dict figures() const;

    /// May be called by any thread.
    void cancel() noexcept;

private:
    class Turn;
    using Batch = std::shared_ptr<const InputBatch>;

    void pushBatch(const qorvel_engine::ObservationSchema& schema, const Batch& batch,
                   const std::vector<std::int64_t>* oldestToCome, std::size_t& next);
    void pushSlice(const qorvel_engine::Observations& observations, const Batch& batch,
                   std::optional<std::int64_t> oldestToCome);
    void pushWhole(Source& source);
    void takeFinal();
    void attend();
    void watch(const std::function<void()>& work);

    bool forgets_; ///< does it matter how old rows to come are?
    qorvel_engine::AnalysisOptions analysis_;
    qorvel_engine::Config config_;
    std::unique_ptr<qorvel_engine::Session> session_;
    std::vector<qorvel_engine::ResultBatch> final_;
    std::atomic<bool> isBusy_ = false;
    std::atomic<bool> isCancelled_ = false;
    pid_t process_;
    std::uint64_t known_ = 0; ///< rows of which it is known that they come
    Attention attention_;
    nanobind::object tell_;
};

} // namespace qorvel_python

#endif
