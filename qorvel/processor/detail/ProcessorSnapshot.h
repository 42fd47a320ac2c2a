#ifndef QORVEL_PROCESSOR_DETAIL_PROCESSORSNAPSHOT_H
#define QORVEL_PROCESSOR_DETAIL_PROCESSORSNAPSHOT_H

#include "qorvel/processor/detail/ProcessorState.h"
#include "qorvel/processor/detail/StateKeys.h"

#include <cstdint>
#include <vector>

namespace qorvel_detail {

/// What a processor keeps, entity by entity, to be written into a state. Good until the processor
/// is used again; who makes it holds the locks that there are to hold.
class ProcessorSnapshot {
public:
    explicit ProcessorSnapshot(const ProcessorState& processor);

    /// The entities of which something is kept, ascending.
    std::vector<std::uint64_t> entities() const;

    /// False, and nothing is written, where nothing is kept of the entity.
    bool save(std::uint64_t eid, StateWriter& out) const;

private:
    struct Reported {
        std::uint64_t eid;
        const RecentHangouts::Slot* slot;
    };

    void sortReported();

    const ProcessorState& processor_;
    StateKeys keys_;
    std::vector<Reported> reported_; ///< by entity
};

/// Takes what ProcessorSnapshot::save wrote, for an entity of which nothing is kept.
/// @param takesForeign  as StateKeys::load
void loadEntity(ProcessorState& processor, const StateKeys& keys, std::uint64_t eid,
                StateReader& in, bool takesForeign);

} // namespace qorvel_detail

#endif
