#include "engine/analysis/detail/BoxesAnalysis.h"

#include "engine/analysis/BoxResult.h"
#include "engine/analysis/detail/EventTable.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace qorvel_engine::detail {

namespace {

class BoxesShard : public Shard, public TableFinder {
public:
    explicit BoxesShard(const qorvel_port::FigureProcessor& like) : processor_(like.another()) {}

    /// Column by column, in the order of BoxResult::layout().
    void find(const EventTable& table, std::size_t from, std::size_t to, Found& found) override {
        boxes_.clear();
        if (from == 0) {
            found.results().reserve(found_);
        }
        processor_.boxes(table.events(from, to), boxes_);
        const std::uint64_t* const entities = table.entities().data() + from;
        const std::int64_t* const times = table.times().data() + from;
        RowsAppender rows(found.results(), BoxResult::layout().schema(), boxes_.size());
        rows.wholes([&](std::size_t row) {
            return static_cast<std::int64_t>(entities[boxes_[row].event]);
        });
        rows.cells([&](std::size_t row) -> CellBits {
            return {boxes_[row].first, boxes_[row].second, boxes_[row].depth};
        });
        rows.wholes([&](std::size_t row) { return boxes_[row].start; });
        rows.wholes([&](std::size_t row) { return boxes_[row].end; });
        rows.wholes([&](std::size_t row) { return times[boxes_[row].event]; });
        rows.finish();
        found_ = found.results().size();
    }

    TableFinder* byTables() override { return this; }
    void collect(std::int64_t, LastResults&) override {}

private:
    qorvel_port::FigureProcessor processor_;
    std::vector<qorvel_port::BoxFigures> boxes_; ///< kept for its memory
    std::size_t found_ = 0;                      ///< in a table: the next has about as many
};

} // namespace

ResultTable BoxesAnalysis::makeTable(std::shared_ptr<const EntityNames> names) const {
    return BoxResult::layout().makeTable(std::move(names));
}

std::unique_ptr<Shard> BoxesAnalysis::makeShard() const {
    return std::make_unique<BoxesShard>(processor_);
}

} // namespace qorvel_engine::detail
