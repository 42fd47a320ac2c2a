#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_PLACEGATHERER_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_PLACEGATHERER_H

#include "engine/analysis/detail/EarthPoint.h"
#include "engine/analysis/detail/Place.h"
#include "engine/analysis/detail/PointGrid.h"
#include "engine/analysis/detail/state.h"

#include <cstddef>
#include <vector>

namespace qorvel_engine::detail {

/// Gathers the stays of one entity into places.
///
/// - A stay joins the nearest spot of those that began within a quarter of the radius; if there is
///   none it begins one.
/// - At the end the spot with the most time takes all that lie within the radius of it, and they
///   are a place; then of what is left again the one with the most time; and so on.
///
/// So where spots lie in a chain, each near to the next, the place is where most of the time was
/// spent, not where the chain happened to be begun. Spots of equal time: first the one whose first
/// stay was first.
///
/// Memory: some 250 bytes a spot, however many stays there are.
class PlaceGatherer {
public:
    /// @param radius  metres, above 0
    explicit PlaceGatherer(double radius) : radius_(radius), grid_(radius / kParts) {}

    /// They come in the order of time.
    void add(const Place& stay);

    /// Most time first, ordered as spots are.
    std::vector<Place> gather() const;

    void save(StateWriter& out) const;
    /// Into one that has taken no stay.
    void load(StateReader& in);

private:
    static constexpr double kParts = 4.0;

    struct Spot {
        EarthPoint begun; ///< where its first stay was
        Place place;
    };

    std::vector<std::size_t> byTime() const;

    double radius_;
    std::vector<Spot> spots_;
    PointGrid grid_; ///< where spots were begun
};

} // namespace qorvel_engine::detail

#endif
