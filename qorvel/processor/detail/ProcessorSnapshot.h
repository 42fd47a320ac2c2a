#ifndef QORVEL_PROCESSOR_DETAIL_PROCESSORSNAPSHOT_H
#define QORVEL_PROCESSOR_DETAIL_PROCESSORSNAPSHOT_H

#include "qorvel/processor/detail/ProcessorState.h"
#include "qorvel/processor/detail/StateKeys.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace qorvel_detail {

/// What a processor keeps, entity by entity, to be written into a state. Good until the processor
/// is used again; who makes it holds the locks that there are to hold.
class ProcessorSnapshot {
public:
    explicit ProcessorSnapshot(const ProcessorState& processor);

    /// The entities of which something is kept, ascending.
    std::vector<std::uint64_t> entities() const;

    /// False, and nothing is written, where nothing is kept of the entity. It is quickest in the
    /// order of the numbers.
    bool save(std::uint64_t eid, StateWriter& out);

private:
    struct Reported {
        std::uint64_t eid;
        const RecentHangouts::Slot* slot;
    };

    /// Those of the entity, in the order in which they are written.
    std::span<const Reported> reportedOf(std::uint64_t eid);
    void fetchAfter(std::uint64_t eid);

    const ProcessorState& processor_;
    StateKeys keys_;
    std::vector<Reported> reported_; ///< by entity
    std::size_t next_ = 0;           ///< in them, behind those of the entity before
    std::uint64_t last_ = 0;         ///< the entity before
    std::uint64_t step_ = 0;         ///< how far it was from the one before that
};

/// Takes what ProcessorSnapshot::save wrote, for an entity of which nothing is kept.
/// @param takesForeign  as StateKeys::load
void loadEntity(ProcessorState& processor, const StateKeys& keys, std::uint64_t eid,
                StateReader& in, bool takesForeign);

} // namespace qorvel_detail

#endif
