#include "engine/run/Session.h"

#include "engine/columns/Fault.h"
#include "engine/run/detail/EventMaker.h"
#include "engine/run/detail/Intake.h"
#include "engine/run/detail/LastBatches.h"
#include "engine/run/detail/Pipeline.h"
#include "engine/run/detail/RegistryLock.h"
#include "engine/run/detail/sessionState.h"

#include <algorithm>
#include <limits>
#include <unordered_set>
#include <utility>

namespace qorvel_engine {

namespace {

/// Enough that a lane's work outweighs the hand-over, few enough that what is under way stays in
/// the caches.
constexpr std::int64_t kBatchRows = 1024;

constexpr unsigned kMostThreads = 256;

constexpr char kOnlyAtEnd[] = "That is known after the last row only.";

void expect(bool holds, FaultCode code, const char* otherwise) {
    if (!holds) {
        throw Fault(code, otherwise);
    }
}

/// For the library's registries, see RegistryLock.
std::unique_ptr<const Tables> makeTables(const Config& config, Question question) {
    if (!needsConfiguration(question)) {
        return nullptr;
    }
    const detail::RegistryLock lock;
    return std::make_unique<const Tables>(config, processorKindOf(question));
}
detail::KeyNumbers makeKeyNumbers(const Config& config) {
    const detail::RegistryLock lock;
    return detail::KeyNumbers(config);
}

void check(const SessionOptions& options) {
    const auto want = [](bool holds, const char* otherwise) {
        expect(holds, FaultCode::badConfiguration, otherwise);
    };
    want(1 <= options.threads && options.threads <= kMostThreads,
         "The number of threads has to be from 1 to 256.");
    detail::expectPossible({options.defaultTolerance, options.timeTolerance});
    want(options.late.value_or(0) >= 0, "How late rows may be has to be a time from 0 on.");
}

} // namespace

class Session::State {
public:
    State(const AnalysisOptions& analysis, const Config& config, const SessionOptions& options)
        : tables_(makeTables(config, analysis.question)),
          analysis_(makeAnalysis(analysis, tables_.get())),
          empty_(analysis_->makeTable(std::make_shared<EntityDictionary>(EntityKind::text))),
          intake_(std::make_unique<detail::Intake>(makeKeyNumbers(config), *analysis_, options,
                                                   counters_)),
          pipeline_(*analysis_, options, counters_),
          parts_(detail::fingerprintOf(analysis, config, options), *analysis_, intake_, pipeline_,
                 counters_) {}

    void push(const Observations& observations, const std::shared_ptr<const void>& owner,
              std::optional<std::int64_t> oldestToCome) {
        expectOpen();
        tellNames(observations.entityKind());
        orEnd([&] {
            intake_->begin(observations);
            std::int64_t from = 0;
            bool goesOn = true;
            do { // once for no rows, too: something may be known about those to come
                std::unique_ptr<detail::Batch> batch = pipeline_.freeBatch();
                batch->columns = observations;
                batch->owner = owner;
                const std::int64_t to = from + std::min(observations.size() - from, kBatchRows);
                intake_->fill(*batch, from, to, oldestToCome.has_value());
                if (oldestToCome && to == observations.size()) {
                    intake_->know(*batch, *oldestToCome);
                }
                goesOn = pipeline_.add(std::move(batch));
                from = to;
            } while (goesOn && from < observations.size());
        });
        pipeline_.expectWanted();
    }

    std::optional<ResultBatch> take() {
        std::optional<ResultBatch> results;
        orEnd([&] {
            results = pipeline_.takeResults();
            if (!results && last_) {
                results = last_->take(pipeline_.maker());
            }
        });
        return results;
    }

    std::vector<Reject> takeRejects() { return intake_->takeRejects(); }

    void flush() {
        expectOpen();
        orEnd([&] { pipeline_.flush(); });
        pipeline_.expectWanted();
    }

    void finish() {
        flush();
        tellNames(intake_->names() == nullptr ? EntityKind::text : intake_->names()->kind());
        orEnd([&] {
            last_.emplace(pipeline_.finish());
            detail::Counters::add(counters_.results, last_->size());
        });
    }

    std::string save() {
        flush();
        expect(!pipeline_.hasResults() && !intake_->hasRejects(), FaultCode::misuse,
               "There are results or rejects that were not taken: take them, then save.");
        return parts_.save();
    }

    void load(std::string_view bytes) {
        expectOpen();
        expect(intake_->names() == nullptr, FaultCode::misuse,
               "A state is loaded before the first rows only.");
        parts_.load(bytes);
    }

    std::string takeEntities(const std::vector<std::string>& names) {
        flush();
        expect(analysis_->isByEntity(), FaultCode::misuse,
               "Encounters are between entities: none can be taken out of the session; save all "
               "of it.");
        const std::vector<std::uint64_t> eids = numbersOf(names);
        std::string bytes = parts_.saveEntities(eids);
        orEnd([&] { parts_.forgetEntities(eids); });
        return bytes;
    }

    void giveEntities(std::string_view bytes) {
        flush();
        expect(analysis_->isByEntity(), FaultCode::misuse,
               "Encounters are between entities: none can be given to the session; load all of "
               "it.");
        parts_.expectForeign(bytes);
        orEnd([&] { parts_.give(bytes); });
    }

    void forgetReportedBefore(std::int64_t time) {
        flush();
        orEnd([&] { pipeline_.forgetReportedBefore(time); });
    }

    std::size_t entitiesRemembered() {
        flush();
        return parts_.entitiesRemembered();
    }

    void cancel() noexcept { pipeline_.cancel(); }

    RunFigures figures() const noexcept { return counters_.read(); }

    InputFigures inputFigures() const {
        expect(last_.has_value(), FaultCode::misuse, kOnlyAtEnd);
        return intake_->figures();
    }

    std::vector<Remark> remarks() const {
        expect(last_.has_value(), FaultCode::misuse, kOnlyAtEnd);
        std::vector<Remark> remarks = analysis_->remarks();
        const RunFigures figures = counters_.read();
        if (figures.outOfOrder > 0 && analysis_->dependsOnOrder()) {
            remarks.push_back({RemarkKind::outOfOrder, figures.outOfOrder,
                               std::to_string(figures.outOfOrder) +
                                   " rows are older than one of their entity before them; sorted "
                                   "by time they may give other results"});
        }
        if (figures.late > 0) {
            const bool isLeftOut = analysis_->lateInEntity().has_value();
            remarks.push_back({isLeftOut ? RemarkKind::leftOut : RemarkKind::late, figures.late,
                               std::to_string(figures.late) + " rows came later than promised" +
                                   (isLeftOut ? " and were left out"
                                              : "; what they continue may have been forgotten")});
        }
        return remarks;
    }

    const ResultSchema& schema() const { return empty_.schema(); }

    bool looksBack() const noexcept { return analysis_->lookBack() >= 0; }

    bool ordersEntities() const noexcept { return analysis_->lateInEntity().has_value(); }

    std::shared_ptr<const EntityNames> names() const noexcept { return intake_->names(); }

private:
    void expectOpen() {
        pipeline_.expectUnharmed();
        pipeline_.expectWanted();
        expect(!last_, FaultCode::misuse, "The session has been finished.");
    }

    /// Ascending, each once.
    std::vector<std::uint64_t> numbersOf(const std::vector<std::string>& wanted) const {
        std::unordered_set<std::string> left(wanted.begin(), wanted.end());
        std::vector<std::uint64_t> eids;
        const std::uint64_t known = intake_->names() == nullptr ? 0 : intake_->names()->size();
        for (std::uint64_t eid = 0; eid < known; ++eid) {
            std::string name;
            intake_->names()->append(eid, name);
            if (left.erase(name) > 0) {
                eids.push_back(eid);
            }
        }
        if (!left.empty()) {
            throw Fault(FaultCode::misuse,
                        "The session has seen no entity \"" + *left.begin() + "\".");
        }
        return eids;
    }

    void tellNames(EntityKind kind) {
        const bool isFirst = intake_->names() == nullptr;
        intake_->expect(kind);
        if (isFirst) {
            pipeline_.setNames(intake_->names());
        }
    }

    /// What fails in the work ends the session. What failed before or meanwhile is thrown.
    template <class Work>
    void orEnd(const Work& work) {
        pipeline_.expectUnharmed();
        try {
            work();
        } catch (...) {
            pipeline_.fail(std::current_exception());
        }
        pipeline_.expectUnharmed();
    }

    const std::unique_ptr<const Tables> tables_; ///< null where none are needed
    const std::unique_ptr<Analysis> analysis_;
    const ResultTable empty_; ///< for its schema
    detail::Counters counters_;
    std::unique_ptr<detail::Intake> intake_;
    std::optional<detail::LastBatches> last_; ///< after the last row
    detail::Pipeline pipeline_;               ///< goes first, with its threads
    const detail::SessionParts parts_;
};

Session::Session(const AnalysisOptions& analysis, const Config& config,
                 const SessionOptions& options) {
    check(options);
    state_ = std::make_unique<State>(analysis, config, options);
}

Session::~Session() = default;

void Session::push(const Observations& observations, std::shared_ptr<const void> owner,
                   std::optional<std::int64_t> oldestToCome) {
    state_->push(observations, owner, oldestToCome);
}

std::optional<ResultBatch> Session::take() {
    return state_->take();
}

std::vector<Reject> Session::takeRejects() {
    return state_->takeRejects();
}

void Session::flush() {
    state_->flush();
}

void Session::finish() {
    state_->finish();
}

std::string Session::save() {
    return state_->save();
}

void Session::load(std::string_view bytes) {
    state_->load(bytes);
}

std::string Session::takeEntities(const std::vector<std::string>& names) {
    return state_->takeEntities(names);
}

void Session::giveEntities(std::string_view bytes) {
    state_->giveEntities(bytes);
}

void Session::forgetReportedBefore(std::int64_t time) {
    state_->forgetReportedBefore(time);
}

std::size_t Session::entitiesRemembered() {
    return state_->entitiesRemembered();
}

void Session::cancel() noexcept {
    state_->cancel();
}

RunFigures Session::figures() const noexcept {
    return state_->figures();
}

InputFigures Session::inputFigures() const {
    return state_->inputFigures();
}

std::vector<Remark> Session::remarks() const {
    return state_->remarks();
}

const ResultSchema& Session::schema() const {
    return state_->schema();
}

bool Session::looksBack() const noexcept {
    return state_->looksBack();
}

bool Session::ordersEntities() const noexcept {
    return state_->ordersEntities();
}

std::shared_ptr<const EntityNames> Session::names() const noexcept {
    return state_->names();
}

} // namespace qorvel_engine
