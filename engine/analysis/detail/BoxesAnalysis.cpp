#include "engine/analysis/detail/BoxesAnalysis.h"

#include "engine/analysis/BoxResult.h"
#include "engine/analysis/detail/processors.h"
#include "engine/analysis/detail/visitors.h"

#include <utility>

namespace qorvel_engine::detail {

namespace {

class BoxesShard : public Shard {
public:
    explicit BoxesShard(const Tables& tables)
        : processor_(makeBoxProcessor(tables, tables.masters())) {}

    void take(const Observation& observation, Found& found) override {
        const Event& event = observation.event;
        BoxVisitor visitor([&](const SpaceTimeBox& box) {
            found.results().append(BoxResult{event.eid, box, box.start, box.end, event.time});
        });
        processor_.boxes(event, visitor);
    }

    void collect(std::int64_t, LastResults&) override {}

private:
    const qorvel_port::FigureProcessor processor_;
};

} // namespace

ResultTable BoxesAnalysis::makeTable(std::shared_ptr<const EntityNames> names) const {
    return BoxResult::layout().makeTable(std::move(names));
}

std::unique_ptr<Shard> BoxesAnalysis::makeShard() const {
    return std::make_unique<BoxesShard>(tables_);
}

} // namespace qorvel_engine::detail
