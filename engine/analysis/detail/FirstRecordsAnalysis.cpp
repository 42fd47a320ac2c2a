#include "engine/analysis/detail/FirstRecordsAnalysis.h"

#include "engine/analysis/detail/recordOf.h"
#include "engine/analysis/detail/state.h"
#include "engine/analysis/detail/visitors.h"

#include <utility>
#include <vector>

namespace qorvel_engine::detail {

namespace {

using qorvel_port::FigureProcessor;

class FirstRecordsSnapshot : public ShardSnapshot {
public:
    explicit FirstRecordsSnapshot(const FigureProcessor& processor) : processor_(processor) {}

    bool save(std::uint64_t eid, StateWriter& out) const override {
        return processor_.save(eid, out);
    }

private:
    FigureProcessor::Snapshot processor_;
};

template <class Result>
class FirstRecordsShard : public Shard {
public:
    explicit FirstRecordsShard(const FigureProcessor& like) : processor_(like.another()) {}

    void take(const Observation& observation, Found& found) override {
        FigureVisitor visitor([&found](const qorvel_port::Figures& figures) {
            found.results().append(recordOf<Result>(figures));
        });
        processor_.process(observation.event, visitor);
    }

    void fetch(std::uint64_t later, std::uint64_t sooner, std::uint64_t soonest) const override {
        processor_.fetch(later, sooner, soonest);
    }

    void collect(std::int64_t time, LastResults&) override { processor_.gc(time); }

    std::unique_ptr<ShardSnapshot> snapshot() const override {
        return std::make_unique<FirstRecordsSnapshot>(processor_);
    }
    void load(std::uint64_t eid, StateReader& in) override { processor_.load(eid, in); }
    void forgetEntities(const std::vector<std::uint64_t>& eids) override {
        processor_.forgetEntities(eids);
    }
    void forgetReportedBefore(std::int64_t time) override { processor_.forgetReportedBefore(time); }

private:
    FigureProcessor processor_;
};

} // namespace

template <class Result>
ResultTable
FirstRecordsAnalysis<Result>::makeTable(std::shared_ptr<const EntityNames> names) const {
    return Result::layout().makeTable(std::move(names));
}

template <class Result>
std::unique_ptr<Shard> FirstRecordsAnalysis<Result>::makeShard() const {
    return std::make_unique<FirstRecordsShard<Result>>(processor_);
}

template class FirstRecordsAnalysis<PresenceResult>;
template class FirstRecordsAnalysis<HangoutResult>;

} // namespace qorvel_engine::detail
