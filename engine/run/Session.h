#ifndef QORVEL_ENGINE_RUN_SESSION_H
#define QORVEL_ENGINE_RUN_SESSION_H

#include "engine/analysis/Remark.h"
#include "engine/analysis/makeAnalysis.h"
#include "engine/columns/Observations.h"
#include "engine/export.h"
#include "engine/run/InputFigures.h"
#include "engine/run/Reject.h"
#include "engine/run/ResultBatch.h"
#include "engine/run/RunFigures.h"
#include "engine/run/SessionOptions.h"
#include "engine/setup/Config.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qorvel_engine {

/// One question to one stream of observations: columns in, columns out.
///
/// Results come in the order of the rows that bring them. They, their order and their figures do
/// not depend on threads, on how the rows are split over pushes, on when results are taken or, but
/// for rows later than promised, on what is forgotten when. Entities do not depend on each other
/// but in encounters: elsewhere sessions with some entities each find together what one finds.
///
/// Last figures come in the order of the times from which no row can change them.
///
/// Stays come when they are final, so what is promised and known decides when. A promise is about
/// the rows of one entity, which need not be near those of others: a stay comes with the row of its
/// entity after which it is final. Where the caller tells how old the oldest row to come is, stays
/// that are final by that come before the next row or a few rows later, by the times from which
/// they are final, and with no promise all do, whatever the pushes. With both, their order is that
/// of the rows and of what was told between them. The stays are the same in each case.
///
/// Rows are numbered from 0 over all pushes, bad ones included. The entity's number in the
/// session's dictionary is its event's `eid`, the row's number the event's `sequenceNumber`. A row
/// without a primary key has "ANY". A key that the configuration does not name is that of no
/// assignment and no spec.
///
/// Threads: one at a time, but for cancel() and figures(), which any may call at any time. Sessions
/// share nothing. Those that a session starts, in its constructor, inherit the signal mask. Its
/// memory is freed with it.
///
/// Faults: memory that runs out and faults of the engine end the session, wherever they happen.
/// They come out of the next call, if not of this one; every later call throws the Fault `misuse`.
/// All that remains to be done with it is to destroy it.
class QORVEL_ENGINE_EXPORT Session {
public:
    /// For questions that need none, see needsConfiguration, nothing of it is used. The caller must
    /// not hold the library's process-wide lock. Throws the Fault `badConfiguration` for a
    /// configuration or an option that cannot be, `tooLarge` where the system gives no thread;
    /// std::bad_alloc.
    Session(const AnalysisOptions& analysis, const Config& config,
            const SessionOptions& options = {});
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    /// What is under way is dropped.
    ~Session();

    /// Takes rows in. With one thread they are processed in this call; with several, in this call
    /// and later, and it returns when little enough is under way.
    ///
    /// The first batch tells what entities are called. One where they are called otherwise is a
    /// Fault `misuse`, after which the session is as before; so is a push after finish().
    ///
    /// @param owner         keeps the columns in memory; given up in a call by this thread
    /// @param oldestToCome  the caller knows that no row of later pushes has an earlier time, ms
    ///                      since 1970 UTC: of a file that is read twice, for example, in which the
    ///                      rows may be in any order. Without it, SessionOptions::late is promised.
    void push(const Observations& observations, std::shared_ptr<const void> owner = nullptr,
              std::optional<std::int64_t> oldestToCome = std::nullopt);

    /// Results that are final and not yet taken; none if there are none right now. Never waits.
    /// They take up memory until they are taken.
    std::optional<ResultBatch> take();

    /// The rows that could not be used and are not yet taken, in the order of the input.
    std::vector<Reject> takeRejects();

    /// Waits until all that was pushed is processed.
    void flush();

    /// After the last row: flushes, and makes the results that are known only at the end. take()
    /// gives them after all others.
    void finish();

    /// All that it remembers, after a flush(): the bytes that docs/state-format.md describes. A
    /// session of the same question, configuration and options, in another process or on another
    /// machine, with any number of threads, loads them and goes on as this one would. The same
    /// state gives the same bytes. Results and rejects are no part of it: where some were not
    /// taken, Fault `misuse`, so that none is lost.
    std::string save();

    /// Takes what another has saved; only before the first push, else Fault `misuse`. What cannot
    /// be taken (cut short, damaged, of another configuration, of a newer format) is a Fault
    /// `badState`, which says which, and the session is as before.
    ///
    /// Memory: a small multiple of the bytes that there are, whatever they say.
    void load(std::string_view bytes);

    /// Takes out all that it remembers of some entities, after a flush(), for a session that gets
    /// their rows from then on; this one is as if it had seen none of theirs. Rows keep the numbers
    /// that they had in the session that took them in. The entities by their names, those that are
    /// integers in decimals; Fault `misuse` for one that is not known, and for encounters, which
    /// are between entities. Results that were not taken stay.
    std::string takeEntities(const std::vector<std::string>& names);

    /// Takes them in, between any rows; faults as of load(), and `misuse` where one of them is
    /// remembered here already. The session should know no more of how old rows to come are than
    /// the one that they come from.
    void giveEntities(std::string_view bytes);

    /// Forgets, after a flush(), which presence records and hangouts it gave, of those that no row
    /// from that time on, ms since 1970 UTC, can bring again. So a stream that goes on for ever
    /// takes memory only for what is under way. For a row that is older all the same, a record may
    /// be given again.
    void forgetReportedBefore(std::int64_t time);

    /// Of how many entities it remembers more than what they are called, after a flush(): what
    /// could still become a result, or keeps one from being given again. What encounters remember
    /// is between entities, and does not count.
    std::size_t entitiesRemembered();

    /// Ends the work soon, in whichever thread it is: push(), flush() and finish() throw the Fault
    /// `cancelled` from then on. What is final can still be taken. A handler of a signal may call
    /// it.
    void cancel() noexcept;

    /// How far it is.
    RunFigures figures() const noexcept;

    /// What all rows were like, after finish(). Before it, Fault `misuse`.
    InputFigures inputFigures() const;

    /// What there is to say after finish(). Before it, Fault `misuse`.
    std::vector<Remark> remarks() const;

    /// What the columns of results are.
    const ResultSchema& schema() const;

    /// Do results hang on earlier rows, too? If not, it is of no use to know how old rows to come
    /// are.
    bool looksBack() const noexcept;

    /// Are the rows of each entity put in order? Then SessionOptions::late is about each by itself,
    /// and rows that may be later are held for longer.
    bool ordersEntities() const noexcept;

    /// What entities are called; null before the first push.
    std::shared_ptr<const EntityNames> names() const noexcept;

private:
    class State;
    std::unique_ptr<State> state_;
};

} // namespace qorvel_engine

#endif
