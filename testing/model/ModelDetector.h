#ifndef QORVEL_TESTING_MODEL_MODELDETECTOR_H
#define QORVEL_TESTING_MODEL_MODELDETECTOR_H

#include "testing/model/cells.h"

#include "qorvel/facade/StbSimpleMutex.h"
#include "qorvel/geohash/SpaceBox.h"
#include "qorvel/hangout/TsListItem.h"
#include "qorvel/model/Event.h"
#include "qorvel/model/STBCompressedEvent.h"
#include "qorvel/model/STBCompressionSpec.h"
#include "qorvel/model/SpaceTimeBoxSpec.h"

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <unordered_map>

/// The rules written down the straightforward way: standard containers, no index, no shortcut.
/// Slow, and short enough to be checked by eye. The tests hold the library against it, the
/// benchmarks measure the library by it.
namespace model {

struct SpaceBoxHash {
    std::size_t operator()(const SpaceBox& box) const {
        return static_cast<std::size_t>(box.hashCode());
    }
};

/// Same public operations and same results as HangoutDetector. A copy has tables of its own and
/// shares the lock.
class ModelDetector {
public:
    ModelDetector();

    bool processEventPresenceCompression(const Event& event, const double& timeToleranceFactor,
                                         const double& spaceToleranceFactor,
                                         const STBCompressionSpec& spec,
                                         const SpaceTimeBoxSpec& stbSpec,
                                         std::list<STBCompressedEvent>& out);

    bool processEventDwellTime(const Event& event, const double& timeToleranceFactor,
                               const double& spaceToleranceFactor, const STBCompressionSpec& spec,
                               const SpaceTimeBoxSpec& stbSpec, std::list<STBCompressedEvent>& out);

    void gc(const std::int64_t& time);

    std::uint64_t getEntityCount() const;
    std::uint64_t getCellCount() const;
    std::uint64_t getItemCount() const;

private:
    /// In order of arrival, whatever the times.
    using Series = std::list<TsListItem>;
    using CellTable = std::unordered_map<SpaceBox, Series, SpaceBoxHash>;

    /// What a walk over a series finds on both sides of a boundary.
    struct Tally {
        std::int64_t lastBefore = 0;
        std::int64_t firstAfter = INT64_MAX;
        std::uint32_t count = 0;
        std::uint32_t beforeCount = 0;
        std::uint32_t afterCount = 0;
        std::list<std::uint64_t> eventIds;

        void add(const TsListItem& item, std::int64_t boundary);
    };

    /// The two boxes that meet at a boundary, and what a side's count is divided by before it is
    /// held against the spec's ratio.
    struct Split {
        std::int64_t boundary;
        double denominator;
    };

    static std::int64_t getTimeBoundary(const std::int64_t& time, const std::uint32_t& span,
                                        const TimeBoxSpec& spec);
    static bool detectHangout(Series& items, const std::int64_t& time, const std::uint32_t& span,
                              const std::uint32_t& minCount, const std::int64_t& boundary,
                              Tally& tally);
    static bool detectDwellTimeHangout(Series& items, const std::uint32_t& span,
                                       const std::uint32_t& minCount, const std::int64_t& boundary,
                                       const std::int64_t& oldestEnd, Tally& tally);
    static void emit(const Event& event, const SpaceBox& cell, const Series& items,
                     const Tally& tally, const Split& split, const STBCompressionSpec& spec,
                     const TimeBoxSpec& timeSpec, std::list<STBCompressedEvent>& out);

    std::unordered_map<std::uint64_t, CellTable> presence_;
    std::unordered_map<std::uint64_t, Event> lastEvents_;
    CellArray currentCells_;
    CellArray previousCells_;
    std::shared_ptr<StbSimpleMutex> lock_;
};

} // namespace model

#endif
