#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_MEETINGS_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_MEETINGS_H

#include "engine/analysis/Analysis.h"

#include "qorvel/geohash/SpaceBox.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace qorvel_engine::detail {

/// Who shares space-time boxes with whom, as MeetingsAnalysis has it.
class Meetings {
public:
    using Pair = std::pair<std::uint64_t, std::uint64_t>; ///< entities, the smaller number first

    struct Meeting {
        std::uint32_t boxes = 0;
        std::uint32_t timeBoxes = 0;
        std::int64_t firstTime = 0;
        std::int64_t lastTime = 0;
        SpaceBox cell;                     ///< of the first box
        std::vector<std::uint64_t> slices; ///< of `timeBoxes` those not forgotten, ascending
    };

    struct PairHash {
        std::size_t operator()(const Pair& pair) const;
    };
    using Table = std::unordered_map<Pair, Meeting, PairHash>;

    explicit Meetings(std::uint32_t maxEntitiesPerBox) : maxEntitiesPerBox_(maxEntitiesPerBox) {}

    /// Takes an entity in a box.
    void see(const SeenBox& box);

    /// Forgets the boxes that ended by this time.
    void collect(std::int64_t time);

    const Table& table() const { return meetings_; }

    /// Boxes in which there were too many.
    std::uint64_t cutBoxes() const { return cutBoxes_; }

private:
    /// Somebody in a box.
    struct Visitor {
        std::uint64_t eid;
        std::int64_t firstTime;
    };
    struct Visitors {
        std::vector<Visitor> byEid; ///< in ascending order
        bool isCut = false;
    };
    struct CellHash {
        std::size_t operator()(const SpaceBox& cell) const;
    };
    /// All boxes of the same time.
    struct TimeSlice {
        explicit TimeSlice(std::uint64_t theNumber) : number(theNumber) {}

        std::uint64_t number; ///< in the order of their making
        std::unordered_map<SpaceBox, Visitors, CellHash> cells;
    };

    TimeSlice& sliceOf(const SpaceTimeBox& box);
    void meet(const Pair& pair, std::int64_t time, const SpaceBox& cell, const TimeSlice& slice);
    void countSlice(Meeting& meeting, const TimeSlice& slice) const;

    const std::uint32_t maxEntitiesPerBox_;
    std::map<std::pair<std::int64_t, std::int64_t>, TimeSlice> slices_; ///< by end and start
    std::unordered_set<std::uint64_t> openSlices_;                      ///< their numbers
    std::uint64_t sliceCount_ = 0;
    Table meetings_;
    std::uint64_t cutBoxes_ = 0;
};

} // namespace qorvel_engine::detail

#endif
