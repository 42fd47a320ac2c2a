#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_MOMENTFINDER_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_MOMENTFINDER_H

#include "engine/analysis/EncounterOptions.h"
#include "engine/analysis/SeenFix.h"
#include "engine/analysis/detail/EarthPoint.h"
#include "engine/analysis/detail/FixGrid.h"
#include "engine/analysis/detail/Moment.h"
#include "engine/analysis/detail/TrackPiece.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace qorvel_engine::detail {

/// Finds the moments at which two entities are near: the fixes of either at whose time the other is
/// within the distance. Where it is then: on the way between two fixes that are at most `apart`
/// apart, else at the nearest fix in time within `apart` (at the earlier of two as near).
///
/// With `fixesOnly` it is at all its fixes within `apart` before and after, and the nearest counts.
///
/// To look at each pair of entities would take the square of their number. So fixes are put into a
/// grid, and each entity asks the cells that it comes by on its way, or those around its fixes.
class MomentFinder {
public:
    explicit MomentFinder(const EncounterOptions& options);

    /// As Analysis::watch.
    void watch(const std::atomic<bool>& cancelled) { cancelled_ = &cancelled; }

    /// As Analysis::useThreads.
    void useThreads(unsigned threads) { threads_ = threads; }

    /// Takes the fixes of some time: from `apart` before the first moment that is asked for to
    /// `apart` after the last, in ascending order, none twice.
    void take(std::vector<SeenFix> fixes);

    /// The moments from the first to the last of these ms, by pair, time and place.
    ///
    /// @return whether that is all: false when there are so many that it is better to ask for less
    bool find(std::int64_t from, std::int64_t to, std::vector<Moment>& moments);

private:
    /// A moment, and the fix that makes it. With `fixesOnly` of the numbers in eids_, first.
    struct Found {
        std::uint64_t a;
        std::uint64_t b;
        std::size_t fix;
        double squaredDistance;
    };

    /// Of an entity, one that a fix has been found to be near to.
    struct Nearest {
        std::size_t fix = 0; ///< its place and one
        double squaredDistance = 0.0;
    };

    void expectWanted() const;
    bool hasTooMany() const;
    bool followAll();
    void fillGrid();
    void follow(std::size_t begin, std::size_t end, std::vector<Found>& found) const;
    void ask(std::uint64_t eid, const TrackPiece& piece, std::vector<Found>& found) const;
    void askCells(std::uint64_t eid, const TrackPiece& piece, std::int64_t from, std::int64_t to,
                  std::vector<Found>& found) const;
    void meet(std::uint64_t eid, const TrackPiece& piece, const FixGrid::Fix& fix,
              std::vector<Found>& found) const;
    bool lookAroundAll();
    void fillGridAround();
    void lookAround(std::size_t own, std::size_t index);
    std::vector<std::size_t> ranksInTime() const;
    void sortFoundAround();
    bool isBefore(const Found& left, const Found& right) const;
    void makeUnique();

    const double squaredWithin_;
    const double within_;
    const std::int64_t apart_;
    const bool fixesOnly_;
    const double cellSize_;
    const std::atomic<bool>* cancelled_ = nullptr;
    unsigned threads_ = 1;
    FixGrid grid_;
    std::vector<SeenFix> fixes_;
    std::vector<EarthPoint> points_;
    std::int64_t from_ = 0;
    std::int64_t to_ = 0;
    std::vector<Found> found_;
    std::vector<std::vector<Found>> parts_; ///< of the threads, kept for their memory
    std::vector<std::uint64_t> eids_;       ///< of the entities, numbered again: ascending
    std::vector<Nearest> nearest_;          ///< of each of these
    std::vector<std::size_t> touched_;      ///< those of them that the last fix is near to
};

} // namespace qorvel_engine::detail

#endif
