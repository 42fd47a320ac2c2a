#include "qorvel/processor/detail/ProcessorSnapshot.h"

#include "qorvel/geohash/detail/cellState.h"

#include <algorithm>
#include <cstddef>
#include <tuple>

namespace qorvel_detail {

namespace {

constexpr std::size_t kLeastDetectorSize = 4 + 1;
constexpr std::size_t kLeastReportedSize = 1 + 4 + 20 + 16;

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
    sortReported();
}

void ProcessorSnapshot::sortReported() {
    const auto order = [this](const Reported& record) {
        const RecentHangouts::Slot& slot = *record.slot;
        return std::tuple(keys_.placeOf(slot.specPrimaryKeyId), slot.depth, slot.first, slot.second,
                          slot.time.start, slot.time.end);
    };
    std::sort(reported_.begin(), reported_.end(),
              [&order](const Reported& left, const Reported& right) {
                  return left.eid != right.eid ? left.eid < right.eid : order(left) < order(right);
              });
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

bool ProcessorSnapshot::save(std::uint64_t eid, StateWriter& out) const {
    const auto [begin, end] = std::equal_range(
        reported_.begin(), reported_.end(), Reported{eid, nullptr},
        [](const Reported& left, const Reported& right) { return left.eid < right.eid; });
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
    if (detectors == 0 && begin == end) {
        out.truncate(start);
        return false;
    }
    out.setU64(start, detectors);
    out.u64(static_cast<std::uint64_t>(end - begin));
    for (auto record = begin; record != end; ++record) {
        const RecordKey key = record->slot->key();
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
    for (std::uint64_t left = in.count(kLeastReportedSize); left > 0 && in.isGood(); --left) {
        RecordKey key{};
        key.eid = eid;
        key.specPrimaryKeyId = keys.load(in, takesForeign);
        key.cell = loadCell(in);
        key.start = in.i64();
        key.end = in.i64();
        in.expect(!processor.recentHangouts().contains(key));
        if (in.isGood()) {
            processor.recentHangouts().isDuplicateHangout(key);
        }
    }
}

} // namespace qorvel_detail
