#include "engine/analysis/detail/MeetingsAnalysis.h"

#include "engine/analysis/MeetingResult.h"
#include "engine/analysis/detail/NameOrder.h"
#include "engine/analysis/detail/processors.h"
#include "engine/analysis/detail/visitors.h"

#include <algorithm>
#include <utility>

namespace qorvel_engine::detail {

namespace {

class MeetingsShard : public Shard {
public:
    explicit MeetingsShard(const Tables& tables)
        : processor_(makeBoxProcessor(tables, tables.masters())) {}

    void take(const Observation& observation, Found& found) override {
        const Event& event = observation.event;
        BoxVisitor visitor([&](const SpaceTimeBox& box) {
            found.add(SeenBox{event.eid, box, event.time, observation.row});
        });
        processor_.boxes(event, visitor);
    }

    void collect(std::int64_t) override {}

private:
    const qorvel_port::FigureProcessor processor_;
};

/// A meeting with its entities in the order of their names.
struct OrderedMeeting {
    std::uint64_t a;
    std::uint64_t b;
    const Meetings::Meeting* meeting;
};

OrderedMeeting ordered(const Meetings::Table::value_type& entry, const NameOrder& isBefore) {
    const auto& [pair, meeting] = entry;
    return isBefore(pair.second, pair.first) ? OrderedMeeting{pair.second, pair.first, &meeting}
                                             : OrderedMeeting{pair.first, pair.second, &meeting};
}

/// The most boxes first, then the earliest, then by names.
std::vector<OrderedMeeting> sorted(const Meetings::Table& table, const NameOrder& isBefore) {
    std::vector<OrderedMeeting> all;
    all.reserve(table.size());
    for (const auto& entry : table) {
        all.push_back(ordered(entry, isBefore));
    }
    std::sort(all.begin(), all.end(), [&](const OrderedMeeting& left, const OrderedMeeting& right) {
        const Meetings::Meeting& one = *left.meeting;
        const Meetings::Meeting& other = *right.meeting;
        if (one.boxes != other.boxes) {
            return one.boxes > other.boxes;
        }
        if (one.firstTime != other.firstTime) {
            return one.firstTime < other.firstTime;
        }
        return left.a != right.a ? isBefore(left.a, right.a) : isBefore(left.b, right.b);
    });
    return all;
}

} // namespace

ResultTable MeetingsAnalysis::makeTable(std::shared_ptr<const EntityNames> names) const {
    return MeetingResult::layout().makeTable(std::move(names));
}

std::unique_ptr<Shard> MeetingsAnalysis::makeShard() const {
    return std::make_unique<MeetingsShard>(tables_);
}

/// An event leans on what was seen in its box; that this is not longer for boxes whose length
/// wraps costs nothing, since a box is forgotten only when it has ended.
std::int64_t MeetingsAnalysis::lookBack() const {
    std::int64_t longest = 1; // the time tolerance reaches into the box before
    for (const STBMasterRow& master : tables_.masters()) {
        longest = std::max<std::int64_t>(longest, master.stbSpec.getDurationMillis());
    }
    return longest;
}

void MeetingsAnalysis::finish(const EntityNames& names, LastResults& results) {
    std::uint64_t number = 0;
    for (const auto& [a, b, meeting] : sorted(meetings_.table(), NameOrder(names))) {
        results.add({0, number},
                    MeetingResult{a, b, meeting->boxes, meeting->timeBoxes, meeting->firstTime,
                                  meeting->lastTime, meeting->cell});
        ++number;
    }
}

std::vector<std::string> MeetingsAnalysis::remarks() const {
    const std::uint64_t cut = meetings_.cutBoxes();
    if (cut == 0) {
        return {};
    }
    return {(cut == 1 ? "1 box" : std::to_string(cut) + " boxes") + " had more than " +
            std::to_string(maxEntitiesPerBox_) +
            " entities; those that came later made no pairs there"};
}

} // namespace qorvel_engine::detail
