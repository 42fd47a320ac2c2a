#ifndef QORVEL_PROGRAM_INPUT_FIXFILTER_H
#define QORVEL_PROGRAM_INPUT_FIXFILTER_H

#include "engine/run/Checkpoint.h"
#include "program/input/FilterOptions.h"
#include "program/input/Fix.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace program {

/// Leaves out fixes that are not asked for, and those to which no way leads at the greatest speed.
///
/// The speed is that from the entity's last fix that was kept. When three fixes are left out by it
/// that are within reach of each other, and they came in a row or are more than those that were
/// kept, it was the kept one that was astray: the third is kept, and what follows is measured from
/// it. Each entity has a decision of its own, by its fixes in the order of the input.
class FixFilter {
public:
    explicit FixFilter(const FilterOptions& options) : options_(options) {}

    /// Does the fix count? To be asked of each once, in the order of the input.
    bool takes(const Fix& fix);

    /// How many fixes were left out.
    std::uint64_t leftOut() const { return notAskedFor_ + tooFast_; }

    /// What was left out, a sentence each.
    std::vector<std::string> remarks() const;

    /// Puts what it remembers into a checkpoint, in numbers and texts of its own.
    void save(qorvel_engine::Checkpoint& kept) const;
    /// Takes it up again, before the first fix. False, and nothing is taken, where it cannot be.
    bool load(const qorvel_engine::Checkpoint& kept);

private:
    struct Place {
        double latitude = 0.0;
        double longitude = 0.0;
        std::int64_t time = 0;
    };

    /// The ways of one entity. All of it goes through save() and load().
    struct Way {
        Place last;                 ///< that was kept
        std::uint64_t kept = 0;     ///< each within reach of the one before it
        Place stray;                ///< the last that was left out
        std::uint64_t strays = 0;   ///< that were left out, each within reach of the one before it
        std::uint64_t strayRow = 0; ///< of these, the last ones between which none was kept
    };

    bool isAskedFor(const Fix& fix) const;
    bool isReached(const Fix& fix);
    bool isWithinReach(const Place& one, const Place& other) const;

    FilterOptions options_;
    std::unordered_map<std::string, Way> ways_;
    std::uint64_t notAskedFor_ = 0;
    std::uint64_t tooFast_ = 0;
};

} // namespace program

#endif
