#include "qorvel/processor/detail/ProcessorSnapshot.h"

#include "qorvel/geohash/detail/cellState.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <tuple>
#include <utility>

namespace qorvel_detail {

namespace {

constexpr std::size_t kLeastDetectorSize = 4 + 1;
constexpr std::size_t kLeastReportedSize = 1 + 4 + 20 + 16;
constexpr std::size_t kFetched = 16; ///< records ahead

RecordKey loadReported(std::uint64_t eid, const StateKeys& keys, StateReader& in,
                       bool takesForeign) {
    RecordKey key{};
    key.eid = eid;
    key.specPrimaryKeyId = keys.load(in, takesForeign);
    key.cell = loadCell(in);
    key.start = in.i64();
    key.end = in.i64();
    return key;
}

} // namespace

ProcessorSnapshot::ProcessorSnapshot(const ProcessorState& processor)
    : processor_(processor), keys_(processor.configuration()) {
    reported_.reserve(static_cast<std::size_t>(processor.recentHangoutCount()));
    std::vector<std::uint32_t> foreign;
    processor.recentHangouts().forEach([&](const RecentHangouts::Slot& slot) {
        reported_.push_back({slot.eid, &slot});
        if (!keys_.hasPlace(slot.specPrimaryKeyId)) {
            foreign.push_back(slot.specPrimaryKeyId);
        }
    });
    keys_.addForeign(std::move(foreign));
    std::sort(reported_.begin(), reported_.end(),
              [](const Reported& left, const Reported& right) { return left.eid < right.eid; });
}

std::span<const ProcessorSnapshot::Reported> ProcessorSnapshot::reportedOf(std::uint64_t eid) {
    if (next_ > 0 && reported_[next_ - 1].eid >= eid) {
        next_ = 0;
    }
    auto begin = reported_.begin() + static_cast<std::ptrdiff_t>(next_);
    if (begin != reported_.end() && begin->eid < eid) {
        begin = std::lower_bound(
            begin, reported_.end(), eid,
            [](const Reported& record, std::uint64_t sought) { return record.eid < sought; });
    }
    const auto end = std::find_if(begin, reported_.end(),
                                  [eid](const Reported& record) { return record.eid != eid; });
    next_ = static_cast<std::size_t>(end - reported_.begin());
    for (std::size_t i = next_; i < std::min(next_ + kFetched, reported_.size()); ++i) {
        __builtin_prefetch(reported_[i].slot);
    }
    const auto order = [this](const Reported& record) {
        const RecentHangouts::Slot& slot = *record.slot;
        return std::tuple(keys_.placeOf(slot.specPrimaryKeyId), slot.depth, slot.first, slot.second,
                          slot.time.start, slot.time.end);
    };
    std::sort(begin, end, [&order](const Reported& left, const Reported& right) {
        return order(left) < order(right);
    });
    return {begin, end};
}

std::vector<std::uint64_t> ProcessorSnapshot::entities() const {
    std::vector<std::uint64_t> eids;
    for (std::size_t number = 0; number < processor_.detectorNumbers(); ++number) {
        if (const DetectorState* detector = processor_.detector(number)) {
            detector->addEntities(eids);
        }
    }
    for (const Reported& record : reported_) {
        eids.push_back(record.eid);
    }
    std::sort(eids.begin(), eids.end());
    eids.erase(std::unique(eids.begin(), eids.end()), eids.end());
    return eids;
}

/// Numbers that went on by one step mostly go on by it: a session's shards have each so many.
void ProcessorSnapshot::fetchAfter(std::uint64_t eid) {
    const std::uint64_t step = eid - std::exchange(last_, eid);
    if (step == std::exchange(step_, step)) {
        processor_.fetch(eid + 12 * step, eid + 8 * step);
        processor_.fetchItems(eid + 4 * step);
    }
}

bool ProcessorSnapshot::save(std::uint64_t eid, StateWriter& out) {
    fetchAfter(eid);
    const std::span<const Reported> reported = reportedOf(eid);
    const std::size_t start = out.size();
    std::uint64_t detectors = 0;
    out.u64(0); // how many detectors, known below
    for (std::size_t number = 0; number < processor_.detectorNumbers(); ++number) {
        const std::size_t before = out.size();
        const DetectorState* const detector = processor_.detector(number);
        out.u32(static_cast<std::uint32_t>(number));
        if (detector != nullptr && detector->save(eid, out)) {
            ++detectors;
        } else {
            out.truncate(before);
        }
    }
    if (detectors == 0 && reported.empty()) {
        out.truncate(start);
        return false;
    }
    out.setU64(start, detectors);
    out.u64(reported.size());
    for (const Reported& record : reported) {
        const RecordKey key = record.slot->key();
        keys_.save(key.specPrimaryKeyId, out);
        saveCell(key.cell, out);
        out.i64(key.start);
        out.i64(key.end);
    }
    return true;
}

void loadEntity(ProcessorState& processor, const StateKeys& keys, std::uint64_t eid,
                StateReader& in, bool takesForeign) {
    std::uint64_t least = 0; // detectors come in the order of their numbers
    for (std::uint64_t left = in.count(kLeastDetectorSize); left > 0; --left) {
        const std::uint32_t number = in.u32();
        in.expect(number >= least && number < processor.detectorNumbers());
        if (!in.isGood()) {
            return;
        }
        processor.makeDetector(number).load(eid, in);
        least = std::uint64_t{number} + 1;
    }
    RecentHangouts& reported = processor.recentHangouts();
    std::array<RecordKey, kFetched> some;
    for (std::uint64_t left = in.count(kLeastReportedSize); left > 0 && in.isGood();) {
        const std::size_t count = static_cast<std::size_t>(std::min<std::uint64_t>(left, kFetched));
        for (std::size_t i = 0; i < count; ++i) {
            some[i] = loadReported(eid, keys, in, takesForeign);
            reported.prefetch(some[i]);
        }
        for (std::size_t i = 0; i < count && in.isGood(); ++i) {
            in.expect(!reported.isDuplicateHangout(some[i]));
        }
        left -= count;
    }
}

} // namespace qorvel_detail
