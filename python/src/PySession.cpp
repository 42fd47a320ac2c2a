#include "src/PySession.h"

#include "engine/run/Reject.h"
#include "engine/run/advice.h"
#include "src/faults.h"
#include "src/settings.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <functional>
#include <limits>
#include <mutex>
#include <nanobind/stl/string.h>
#include <numeric>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <utility>

namespace nb = nanobind;

namespace qorvel_python {

namespace {

using namespace qorvel_engine; // NOLINT(google-build-using-namespace): whose session this is

/// In such slices it is known how old the rows behind can be. Where a dictionary of entities has to
/// be looked through for each, they are larger.
constexpr std::int64_t kSliceRows = 16384;
constexpr std::int64_t kRowsPerEntry = 4;

/// So few are done before the user waits, however large the configuration is.
constexpr std::int64_t kFewRows = 16;

constexpr AdviceWords kWords{[](std::string_view name) { return std::string(name); },
                             "columns={\"entity\": ...}", "qorvel.explain", "qorvel.check"};

std::int64_t sliceRows(const InputBatch& batch) {
    return std::max(kSliceRows, batch.longestDictionary() / kRowsPerEntry);
}

/// Calls with the bounds of each slice of a batch: with the first even of a batch without rows,
/// whose columns are checked nevertheless.
template <class Work>
void eachSlice(const InputBatch& batch, const Work& work) {
    const std::int64_t rows = sliceRows(batch);
    std::int64_t from = 0;
    do {
        work(from, std::min(from + rows, batch.size()));
        from += rows;
    } while (from < batch.size());
}

Observations bind(const ObservationSchema& schema, const InputBatch& batch, std::int64_t from,
                  std::int64_t to) {
    const ArrowArray slice = batch.slice(from, to - from);
    return schema.bind(slice);
}

} // namespace

/// The right to use the session, of one thread at a time, without Python's lock.
class PySession::Turn {
public:
    Turn(PySession& session, const nb::object& tell) : session_(session) {
        if (session.process_ != getpid()) {
            refuseCall("A session cannot be used in a process forked off after it was made.");
        }
        if (session.isBusy_.exchange(true)) {
            refuseCall("Another thread is using this session.");
        }
        session.tell_ = tell;
        session.attention_ = Attention();
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn() {
        session_.tell_ = nb::object();
        session_.isBusy_ = false;
    }

private:
    PySession& session_;
};

PySession::PySession(const std::string& question, const nb::dict& settings) : process_(getpid()) {
    Settings read = readSettings(question, settings);
    forgets_ = !read.session.late && read.analysis.question != Question::boxes;
    analysis_ = read.analysis;
    config_ = std::move(read.config);
    const nb::gil_scoped_release unlocked;
    session_ = std::make_unique<Session>(analysis_, config_, read.session);
}

PySession::~PySession() {
    if (process_ != getpid()) {
        (void)session_.release();
        return;
    }
    const nb::gil_scoped_release unlocked;
    session_.reset();
}

void PySession::push(Source& source, bool isWhole, const nb::object& tell) {
    const Turn turn(*this, tell);
    const nb::gil_scoped_release unlocked;
    if (isWhole && forgets_) {
        pushWhole(source);
        return;
    }
    std::size_t slice = 0;
    while (const Batch batch = source.next()) {
        known_ += static_cast<std::uint64_t>(std::max<std::int64_t>(0, batch->size()));
        pushBatch(source.observations(), batch, nullptr, slice);
    }
}

void PySession::pushWhole(Source& source) {
    std::vector<Batch> batches;
    std::vector<std::int64_t> oldest;
    while (Batch batch = source.next()) {
        eachSlice(*batch, [&](std::int64_t from, std::int64_t to) {
            oldest.push_back(bind(source.observations(), *batch, from, to).oldestTime());
            attend();
        });
        known_ += static_cast<std::uint64_t>(std::max<std::int64_t>(0, batch->size()));
        batches.push_back(std::move(batch));
    }
    // From the oldest of a slice to the oldest of it and all behind it.
    std::partial_sum(oldest.rbegin(), oldest.rend(), oldest.rbegin(),
                     [](std::int64_t a, std::int64_t b) { return std::min(a, b); });
    oldest.push_back(std::numeric_limits<std::int64_t>::max());
    std::size_t slice = 0;
    for (Batch& batch : batches) {
        pushBatch(source.observations(), std::exchange(batch, nullptr), &oldest, slice);
    }
}

void PySession::pushBatch(const ObservationSchema& schema, const Batch& batch,
                          const std::vector<std::int64_t>* oldestToCome, std::size_t& next) {
    eachSlice(*batch, [&](std::int64_t from, std::int64_t to) {
        ++next;
        pushSlice(bind(schema, *batch, from, to), batch,
                  oldestToCome == nullptr ? std::nullopt : std::optional((*oldestToCome)[next]));
    });
}

/// A thread for a few rows would cost more than they.
void PySession::pushSlice(const Observations& observations, const Batch& batch,
                          std::optional<std::int64_t> oldestToCome) {
    const auto work = [&] {
        session_->push(observations, batch, oldestToCome);
        takeFinal();
    };
    if (observations.size() <= kFewRows) {
        work();
    } else {
        watch(work);
    }
    attend();
}

void PySession::flush() {
    const Turn turn(*this, nb::none());
    const nb::gil_scoped_release unlocked;
    watch([this] {
        session_->flush();
        takeFinal();
    });
}

nb::bytes PySession::save() {
    flush();
    const Turn turn(*this, nb::none());
    if (!final_.empty()) {
        refuseCall("There are results that were not given: call flush, then save.");
    }
    std::string state;
    {
        const nb::gil_scoped_release unlocked;
        state = session_->save();
    }
    return nb::bytes(state.data(), state.size());
}

void PySession::load(const nb::bytes& state) {
    const Turn turn(*this, nb::none());
    const std::string_view bytes(state.c_str(), state.size());
    const nb::gil_scoped_release unlocked;
    session_->load(bytes);
}

nb::bytes PySession::takeEntities(const std::vector<std::string>& names) {
    flush();
    const Turn turn(*this, nb::none());
    std::string state;
    {
        const nb::gil_scoped_release unlocked;
        state = session_->takeEntities(names);
    }
    return nb::bytes(state.data(), state.size());
}

void PySession::giveEntities(const nb::bytes& state) {
    const Turn turn(*this, nb::none());
    const std::string_view bytes(state.c_str(), state.size());
    const nb::gil_scoped_release unlocked;
    session_->giveEntities(bytes);
}

void PySession::advance(std::int64_t oldestToCome) {
    const Turn turn(*this, nb::none());
    const nb::gil_scoped_release unlocked;
    const std::shared_ptr<const EntityNames> names = session_->names();
    if (names == nullptr) { // there was no row
        return;
    }
    ObservationColumns none;
    none.entityKind = names->kind();
    watch([&] {
        session_->push(Observations(none), nullptr, oldestToCome);
        session_->flush();
        takeFinal();
    });
}

void PySession::forgetReportedBefore(std::int64_t time) {
    const Turn turn(*this, nb::none());
    const nb::gil_scoped_release unlocked;
    session_->forgetReportedBefore(time);
}

std::size_t PySession::entitiesRemembered() {
    const Turn turn(*this, nb::none());
    const nb::gil_scoped_release unlocked;
    return session_->entitiesRemembered();
}

void PySession::finish(const nb::object& tell) {
    const Turn turn(*this, tell);
    const nb::gil_scoped_release unlocked;
    watch([this] {
        session_->finish();
        takeFinal();
    });
}

void PySession::takeFinal() {
    while (!isCancelled_) {
        std::optional<ResultBatch> results = session_->take();
        if (!results) {
            return;
        }
        final_.push_back(std::move(*results));
    }
}

void PySession::cancel() noexcept {
    isCancelled_ = true;
    session_->cancel();
}

std::unique_ptr<Results> PySession::takeResults() {
    const Turn turn(*this, nb::none());
    const std::shared_ptr<const EntityNames> names = session_->names();
    auto results =
        std::make_unique<Results>(std::make_shared<const ResultSchema>(session_->schema()),
                                  names == nullptr ? EntityKind::text : names->kind());
    for (ResultBatch& batch : std::exchange(final_, {})) {
        results->add(std::move(batch.table));
    }
    return results;
}

std::unique_ptr<Results> PySession::takeRejects() {
    const Turn turn(*this, nb::none());
    auto results = std::make_unique<Results>(std::make_shared<const ResultSchema>(rejectSchema()),
                                             EntityKind::text);
    const std::vector<Reject> rejects = session_->takeRejects();
    if (!rejects.empty()) {
        results->add(makeRejectTable(rejects));
    }
    return results;
}

std::vector<std::string> PySession::remarks() {
    const Turn turn(*this, nb::none());
    std::vector<std::string> sentences;
    for (qorvel_engine::Remark& remark : session_->remarks()) {
        sentences.push_back(std::move(remark.sentence));
    }
    std::string advice =
        adviceOn(analysis_, config_, session_->figures(), session_->inputFigures(), kWords);
    if (!advice.empty()) {
        sentences.push_back(std::move(advice));
    }
    return sentences;
}

nb::dict PySession::figures() const {
    const RunFigures figures = session_->figures();
    nb::dict result;
    result["pushed"] = figures.pushed;
    result["processed"] = figures.processed;
    result["rejected"] = figures.rejected;
    result["late"] = figures.late;
    result["out_of_order"] = figures.outOfOrder;
    result["results"] = figures.results;
    return result;
}

/// Lets Python look whether it was interrupted, and tells how far the work is. What either raises
/// ends the session.
void PySession::attend() {
    if (!attention_.isDue()) {
        return;
    }
    const nb::gil_scoped_acquire lock;
    try {
        Attention::look();
        if (!tell_.is_none()) {
            tell_(session_->figures().processed, known_);
        }
    } catch (...) {
        cancel();
        throw;
    }
}

/// Works in another thread, so that this one, which may be the one that hears of signals, can look.
void PySession::watch(const std::function<void()>& work) {
    std::exception_ptr fault;
    bool isDone = false;
    std::mutex mutex;
    std::condition_variable changed;
    std::thread worker([&] {
        try {
            work();
        } catch (...) {
            fault = std::current_exception();
        }
        const std::lock_guard lock(mutex);
        isDone = true;
        changed.notify_one();
    });
    try {
        std::unique_lock lock(mutex);
        while (!changed.wait_for(lock, Attention::kBetweenLooks, [&] { return isDone; })) {
            lock.unlock();
            attend();
            lock.lock();
        }
    } catch (...) {
        worker.join();
        throw;
    }
    worker.join();
    if (fault) {
        std::rethrow_exception(fault);
    }
}

} // namespace qorvel_python
