#include "engine/analysis/detail/Meetings.h"

#include "qorvel/base/hashing.h"

#include <algorithm>

namespace qorvel_engine::detail {

std::size_t Meetings::PairHash::operator()(const Pair& pair) const {
    return static_cast<std::size_t>(
        qorvel_detail::combine(qorvel_detail::mix(pair.first), pair.second));
}

std::size_t Meetings::CellHash::operator()(const SpaceBox& cell) const {
    return static_cast<std::size_t>(qorvel_detail::mix(cell.hashCode()));
}

void Meetings::see(const SeenBox& box) {
    TimeSlice& slice = sliceOf(box.stb);
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

Meetings::TimeSlice& Meetings::sliceOf(const SpaceTimeBox& box) {
    const auto [entry, isNew] = slices_.try_emplace({box.end, box.start}, sliceCount_);
    if (isNew) {
        openSlices_.insert(sliceCount_);
        ++sliceCount_;
    }
    return entry->second;
}

void Meetings::meet(const Pair& pair, std::int64_t time, const SpaceBox& cell,
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

void Meetings::countSlice(Meeting& meeting, const TimeSlice& slice) const {
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

void Meetings::collect(std::int64_t time) {
    while (!slices_.empty() && slices_.begin()->first.first <= time) {
        openSlices_.erase(slices_.begin()->second.number);
        slices_.erase(slices_.begin());
    }
}

} // namespace qorvel_engine::detail
