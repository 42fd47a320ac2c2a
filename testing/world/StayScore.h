#ifndef QORVEL_TESTING_WORLD_STAYSCORE_H
#define QORVEL_TESTING_WORLD_STAYSCORE_H

#include "testing/world/StayScene.h"

#include <cstddef>
#include <vector>

namespace world {

/// How good found stays are. There is one rule: a true stay of at least 15 minutes is found when a
/// stay of that entity covers at least half of it and lies within 300 m.
class StayScore {
public:
    /// Adds what was found of a scene; both by entity, then by time.
    void add(const StayScene& scene, const std::vector<SceneStay>& found);

    /// The harmonic mean of the share of true stays that are found and the share of found ones that
    /// are true. One that finds a shorter stay counts neither way.
    double f1() const;
    /// The same of what fixes can tell: from the first of them in each true stay to the last.
    double bestF1() const;

    double splitShare() const;  ///< of true stays: two found ones lie there for 5 minutes each
    double mergedShare() const; ///< of found ones: they cover at least half of two true ones

    /// Errors of those found, at that share of them: 0.5 is the median.
    double beginMinutes(double share) const { return quantile(begins_, share); }
    double endMinutes(double share) const { return quantile(ends_, share); }
    double placeMetres(double share) const { return quantile(places_, share); }

    std::size_t fixes() const { return fixes_; }
    std::size_t stays() const { return true_; }

private:
    static double quantile(std::vector<double> values, double share);
    /// What a found stay is the find of, and how many true ones it covers.
    struct Use {
        bool isOfLong = false;
        bool isOfShort = false;
        int covered = 0;
    };

    void addStay(const SceneStay& stay, const std::vector<SceneStay>& found, std::size_t first,
                 std::vector<Use>& uses);
    void countShown(const StayScene& scene);

    std::size_t fixes_ = 0;
    std::size_t true_ = 0;
    std::size_t shown_ = 0;  ///< by fixes, for half of its length and 15 minutes
    std::size_t partly_ = 0; ///< by fixes for 15 minutes, but not for half of it
    std::size_t hits_ = 0;
    std::size_t found_ = 0;
    std::size_t wrong_ = 0;
    std::size_t split_ = 0;
    std::size_t merged_ = 0;
    std::vector<double> begins_;
    std::vector<double> ends_;
    std::vector<double> places_;
};

} // namespace world

#endif
