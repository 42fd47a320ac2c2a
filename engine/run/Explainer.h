#ifndef QORVEL_ENGINE_RUN_EXPLAINER_H
#define QORVEL_ENGINE_RUN_EXPLAINER_H

#include "engine/columns/Observations.h"
#include "engine/export.h"
#include "engine/run/EventOptions.h"
#include "engine/run/Explanation.h"
#include "engine/setup/Config.h"

#include <cstdint>
#include <memory>

namespace qorvel_engine {

/// Tells what becomes of a row of boxes, presence or hangouts, and why: takes the rows of its
/// entity up to it, in the order of the input. Slow; for single rows. One thread at a time.
class QORVEL_ENGINE_EXPORT Explainer {
public:
    /// The caller must not hold the library's process-wide lock. Throws the Fault
    /// `badConfiguration` for a configuration or an option that cannot be.
    Explainer(const Config& config, ProcessorKind kind, const EventOptions& options = {});
    Explainer(const Explainer&) = delete;
    Explainer& operator=(const Explainer&) = delete;
    ~Explainer();

    /// The next row of the entity; one that can be used.
    /// @param number  what the caller knows the row by: its number, its line
    void take(const Observations& observations, std::int64_t row, std::uint64_t number);

    /// Of the last row taken. Without one, Fault `misuse`.
    Explanation explain() const;

private:
    class State;
    std::unique_ptr<State> state_;
};

} // namespace qorvel_engine

#endif
