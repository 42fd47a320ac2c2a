#ifndef QORVEL_TOOLS_COMMANDS_MEETANALYSIS_H
#define QORVEL_TOOLS_COMMANDS_MEETANALYSIS_H

#include "engine/setup/Tables.h"
#include "tools/run/Analysis.h"
#include "tools/setup/engineNames.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace host {

/// Who was with whom: the pairs of different entities that share a space-time box.
///
/// `boxes` counts the distinct boxes that a pair shares. Two who are close share several at the
/// same time, since a fix lies in each cell that its accuracy reaches; `time_boxes` counts the
/// distinct stretches of time among them. `first_time` and `last_time` are the earliest and the
/// latest of the times at which the second of the two was first seen in a shared box. The cell is
/// that of the first box shared. Pairs that share the most boxes come first, then the earliest.
///
/// In a box that already has the largest number of entities, others make no pairs.
///
/// Memory: a box is forgotten when no fix to come lies in it. Somebody who comes to it later all
/// the same meets nobody who was there before, and two such count the box once more. Pairs are
/// kept, some two hundred bytes each.
class MeetAnalysis : public Analysis {
public:
    /// The library is for boxes, and must outlive the analysis.
    MeetAnalysis(const Tables& library, std::uint32_t maxEntitiesPerBox)
        : library_(library), maxEntitiesPerBox_(maxEntitiesPerBox) {}

    const Schema& schema() const override;
    std::unique_ptr<Shard> makeShard() const override;
    std::int64_t lookBack() const override;
    bool dependsOnOrder() const override { return false; }
    void see(const SeenBox& box) override;
    void collect(std::int64_t time) override;
    void finish(std::vector<LastResult>& results) override;
    std::vector<std::string> remarks() const override;

private:
    using Pair = std::pair<std::uint64_t, std::uint64_t>; ///< entities, the smaller number first
    struct PairHash {
        std::size_t operator()(const Pair& pair) const;
    };
    struct CellHash {
        std::size_t operator()(const SpaceBox& cell) const;
    };

    /// Somebody in a box.
    struct Visitor {
        std::uint64_t eid;
        std::int64_t firstTime;
    };
    struct Visitors {
        std::vector<Visitor> byEid; ///< in ascending order
        bool isCut = false;
    };
    /// All boxes of the same time.
    struct TimeSlice {
        explicit TimeSlice(std::uint64_t theNumber) : number(theNumber) {}

        std::uint64_t number; ///< in the order of their making
        std::unordered_map<SpaceBox, Visitors, CellHash> cells;
    };

    struct Meeting {
        std::uint32_t boxes = 0;
        std::uint32_t timeBoxes = 0;
        std::int64_t firstTime = 0;
        std::int64_t lastTime = 0;
        SpaceBox cell;                     ///< of the first box
        std::vector<std::uint64_t> slices; ///< of `timeBoxes` those not forgotten, ascending
    };
    struct NamedMeeting;

    void meet(const Pair& pair, std::int64_t time, const SpaceBox& cell, const TimeSlice& slice);
    void countSlice(Meeting& meeting, const TimeSlice& slice) const;
    std::vector<NamedMeeting> named() const;

    const Tables& library_;
    const std::uint32_t maxEntitiesPerBox_;
    std::map<std::pair<std::int64_t, std::int64_t>, TimeSlice> slices_; ///< by end and start
    std::unordered_set<std::uint64_t> openSlices_;                      ///< their numbers
    std::uint64_t sliceCount_ = 0;
    std::unordered_map<Pair, Meeting, PairHash> meetings_;
    std::uint64_t cutBoxes_ = 0;
};

} // namespace host

#endif
