#ifndef QORVEL_ENGINE_RUN_TRACKCHECK_H
#define QORVEL_ENGINE_RUN_TRACKCHECK_H

#include "engine/columns/Observations.h"
#include "engine/export.h"
#include "engine/run/EventOptions.h"
#include "engine/setup/Config.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace qorvel_engine {

/// What movement data is like, as far as a configuration depends on it.
struct TrackFigures {
    std::uint64_t rows = 0;
    std::uint64_t rejected = 0; ///< bad rows
    std::uint64_t untaken = 0;  ///< good rows that no assignment takes, or no cell holds
    /// Between an entity's fixes, ms, within 2 %; none where no entity has two.
    std::optional<std::int64_t> medianGap;
    std::vector<ConfigFault> warnings;
};

/// Holds a configuration against data that it is meant for, read once, in bounded memory: entities
/// and keys beyond some ten thousand are not looked at. One thread at a time.
class QORVEL_ENGINE_EXPORT TrackCheck {
public:
    /// The configuration must have no errors, see checkConfig. The caller must not hold the
    /// library's process-wide lock. Throws the Fault `badConfiguration` for options that cannot be.
    explicit TrackCheck(const Config& config, const EventOptions& options = {});
    TrackCheck(const TrackCheck&) = delete;
    TrackCheck& operator=(const TrackCheck&) = delete;
    ~TrackCheck();

    /// Takes rows; all batches call entities by texts, or none does.
    void take(const Observations& observations);

    /// A row that its reader has rejected.
    void reject();

    /// What all those taken are like.
    TrackFigures figures() const;

private:
    class State;
    std::unique_ptr<State> state_;
};

} // namespace qorvel_engine

#endif
