#ifndef QORVEL_PROCESSOR_DETAIL_STATEKEYS_H
#define QORVEL_PROCESSOR_DETAIL_STATEKEYS_H

#include "qorvel/base/StateReader.h"
#include "qorvel/base/StateWriter.h"
#include "qorvel/processor/detail/Configuration.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qorvel_detail {

/// Keys of specs in states. A number that was given to a name is another one in another process, so
/// a key stands as its place among those of the configuration; one that is not there (of a record
/// that the host put into the list itself) by its name, or as a number that the host made.
class StateKeys {
public:
    explicit StateKeys(const Configuration& configuration);

    /// Adds those that are not of the configuration, so that each has a place. All at once.
    void addForeign(std::vector<std::uint32_t> keys);

    bool hasPlace(std::uint32_t key) const { return placeOf(key) < keys_.size(); }
    /// Among all, in an order that hangs on names, not on the numbers given to them.
    std::size_t placeOf(std::uint32_t key) const;

    void save(std::uint32_t key, StateWriter& out) const;
    /// @param takesForeign  under the process-wide lock: names may be registered
    std::uint32_t load(StateReader& in, bool takesForeign) const;

private:
    std::vector<std::uint32_t> keys_; ///< those of the configuration first
    std::size_t ownKeys_ = 0;
};

} // namespace qorvel_detail

#endif
