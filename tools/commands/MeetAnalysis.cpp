#include "tools/commands/MeetAnalysis.h"

#include "tools/commands/CellValues.h"
#include "tools/setup/makeProcessor.h"

#include <algorithm>
#include <list>
#include <sstream>
#include <tuple>

namespace host {

namespace {

constexpr std::uint64_t kOddConstant = 0x9E3779B97F4A7C15U;

class MeetShard : public Shard {
public:
    explicit MeetShard(const Tables& library) : processor_(host::makeProcessor(library)) {}

    void take(const Observation& observation, Found& found) override {
        const Event& event = observation.event;
        boxes_.clear();
        QorvelMotionProcessorAPI::processEventForSTBs(event, processor_, boxes_, errors_);
        for (const SpaceTimeBox& box : boxes_) {
            found.add(SeenBox{event.eid, box, event.time, observation.row});
        }
    }

    void collect(std::int64_t) override {}

private:
    const MotionProcessor processor_;
    std::list<SpaceTimeBox> boxes_;
    std::stringstream errors_;
};

Schema makeSchema() {
    Schema schema{"meetings",
                  {{"entity_a", ColumnKind::text},
                   {"entity_b", ColumnKind::text},
                   {"boxes", ColumnKind::whole},
                   {"time_boxes", ColumnKind::whole},
                   {"first_time", ColumnKind::time},
                   {"last_time", ColumnKind::time}},
                  false};
    CellValues::addColumns(schema.columns);
    return schema;
}

} // namespace

/// With what it is sorted by, besides the number of boxes.
struct MeetAnalysis::NamedMeeting {
    std::string a;
    std::string b;
    const Meeting* meeting;

    bool operator<(const NamedMeeting& other) const {
        return std::tie(other.meeting->boxes, meeting->firstTime, a, b) <
               std::tie(meeting->boxes, other.meeting->firstTime, other.a, other.b);
    }
};

std::size_t MeetAnalysis::PairHash::operator()(const Pair& pair) const {
    const std::uint64_t hash = (pair.first * kOddConstant ^ pair.second) * kOddConstant;
    return static_cast<std::size_t>(hash ^ hash >> 32);
}

std::size_t MeetAnalysis::CellHash::operator()(const SpaceBox& cell) const {
    const std::uint64_t hash = cell.hashCode() * kOddConstant;
    return static_cast<std::size_t>(hash ^ hash >> 32);
}

const Schema& MeetAnalysis::schema() const {
    static const Schema schema = makeSchema();
    return schema;
}

std::unique_ptr<Shard> MeetAnalysis::makeShard() const {
    return std::make_unique<MeetShard>(library_);
}

/// An event leans on what was seen in its box; that this is not longer for boxes whose length
/// wraps costs nothing, since a box is forgotten only when it has ended.
std::int64_t MeetAnalysis::lookBack() const {
    std::int64_t longest = 1; // the time tolerance reaches into the box before
    for (const STBMasterRow& master : library_.masters()) {
        longest = std::max<std::int64_t>(longest, master.stbSpec.getDurationMillis());
    }
    return longest;
}

void MeetAnalysis::see(const SeenBox& box) {
    const auto [entry, isNew] = slices_.try_emplace({box.stb.end, box.stb.start}, sliceCount_);
    TimeSlice& slice = entry->second;
    if (isNew) {
        openSlices_.insert(sliceCount_);
        ++sliceCount_;
    }
    Visitors& visitors = slice.cells[box.stb];
    const auto place = std::lower_bound(
        visitors.byEid.begin(), visitors.byEid.end(), box.eid,
        [](const Visitor& visitor, std::uint64_t eid) { return visitor.eid < eid; });
    if (place != visitors.byEid.end() && place->eid == box.eid) {
        return;
    }
    if (visitors.byEid.size() >= maxEntitiesPerBox_) {
        cutBoxes_ += visitors.isCut ? 0U : 1U;
        visitors.isCut = true;
        return;
    }
    for (const Visitor& other : visitors.byEid) {
        meet(std::minmax({other.eid, box.eid}), std::max(other.firstTime, box.time), box.stb,
             slice);
    }
    visitors.byEid.insert(place, {box.eid, box.time});
}

void MeetAnalysis::meet(const Pair& pair, std::int64_t time, const SpaceBox& cell,
                        const TimeSlice& slice) {
    const auto [entry, isNew] = meetings_.try_emplace(pair);
    Meeting& meeting = entry->second;
    if (isNew) {
        meeting.firstTime = time;
        meeting.lastTime = time;
        meeting.cell = cell;
    }
    ++meeting.boxes;
    countSlice(meeting, slice);
    meeting.firstTime = std::min(meeting.firstTime, time);
    meeting.lastTime = std::max(meeting.lastTime, time);
}

void MeetAnalysis::countSlice(Meeting& meeting, const TimeSlice& slice) const {
    constexpr std::size_t kFew = 4;
    std::vector<std::uint64_t>& known = meeting.slices;
    if (!known.empty() && known.back() == slice.number) {
        return;
    }
    const auto place = std::lower_bound(known.begin(), known.end(), slice.number);
    if (place != known.end() && *place == slice.number) {
        return;
    }
    ++meeting.timeBoxes;
    known.insert(place, slice.number);
    if (known.size() >= kFew && known.size() == known.capacity()) {
        std::erase_if(known,
                      [this](std::uint64_t number) { return !openSlices_.contains(number); });
    }
}

void MeetAnalysis::collect(std::int64_t time) {
    while (!slices_.empty() && slices_.begin()->first.first <= time) {
        openSlices_.erase(slices_.begin()->second.number);
        slices_.erase(slices_.begin());
    }
}

void MeetAnalysis::finish(std::vector<LastResult>& results) {
    CellValues cellValues;
    std::uint64_t number = 0;
    for (const NamedMeeting& pair : named()) {
        const Meeting& meeting = *pair.meeting;
        ResultRow row{std::vector<Value>(schema().columns.size()), {meeting.cell}};
        row.values[0].text = pair.a;
        row.values[1].text = pair.b;
        row.values[2].whole = meeting.boxes;
        row.values[3].whole = meeting.timeBoxes;
        row.values[4].whole = meeting.firstTime;
        row.values[5].whole = meeting.lastTime;
        cellValues.set(row.values, 6, meeting.cell);
        results.push_back({0, number, row});
        ++number;
    }
}

std::vector<MeetAnalysis::NamedMeeting> MeetAnalysis::named() const {
    std::vector<NamedMeeting> all;
    all.reserve(meetings_.size());
    for (const auto& [pair, meeting] : meetings_) {
        NamedMeeting entry{EIDName::getEIDNameStr(pair.first), EIDName::getEIDNameStr(pair.second),
                           &meeting};
        if (entry.b < entry.a) {
            std::swap(entry.a, entry.b);
        }
        all.push_back(std::move(entry));
    }
    std::sort(all.begin(), all.end());
    return all;
}

std::vector<std::string> MeetAnalysis::remarks() const {
    if (cutBoxes_ == 0) {
        return {};
    }
    return {(cutBoxes_ == 1 ? "1 box" : std::to_string(cutBoxes_) + " boxes") + " had more than " +
            std::to_string(maxEntitiesPerBox_) +
            " entities; those that came later made no pairs there (--max-per-box)"};
}

} // namespace host
