#include "engine/analysis/detail/BoxesAnalysis.h"

#include "engine/analysis/BoxResult.h"

#include <utility>
#include <vector>

namespace qorvel_engine::detail {

namespace {

class BoxesShard : public Shard {
public:
    explicit BoxesShard(const qorvel_port::FigureProcessor& like) : processor_(like.another()) {}

    void take(const Observation& observation, Found&) override {
        const Event& event = observation.event;
        boxes_.clear();
        processor_.boxes(event, boxes_);
        for (const qorvel_port::BoxFigures& box : boxes_) {
            results_.push_back({event.eid, SpaceBox(box.first, box.second, box.depth), box.start,
                                box.end, event.time});
        }
    }

    void endRows(Found& found) override {
        BoxResult::layout().append(results_.data(), results_.size(), found.results());
        results_.clear();
    }

    void collect(std::int64_t, LastResults&) override {}

private:
    qorvel_port::FigureProcessor processor_;
    std::vector<qorvel_port::BoxFigures> boxes_; ///< of a row
    std::vector<BoxResult> results_;             ///< of the rows since endRows
};

} // namespace

ResultTable BoxesAnalysis::makeTable(std::shared_ptr<const EntityNames> names) const {
    return BoxResult::layout().makeTable(std::move(names));
}

std::unique_ptr<Shard> BoxesAnalysis::makeShard() const {
    return std::make_unique<BoxesShard>(processor_);
}

} // namespace qorvel_engine::detail
