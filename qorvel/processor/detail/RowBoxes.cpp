#include "qorvel/processor/detail/RowBoxes.h"

#include "qorvel/model/detail/tolerance.h"

namespace qorvel_detail {

namespace {

/// The box of time - margin, and the stretch from the start of the box of time to the end of the
/// box of time + margin. The second one starts at time, not at time + margin: so the event's own
/// box is always in it.
TimeBoxes timeBoxesOf(std::int64_t time, std::uint32_t margin, const TimeBoxSpec& spec,
                      TimeBoxMemo& memo) {
    if (margin == 0) {
        const Interval only(memo.start(spec, time), memo.end(spec, time));
        return {{only, only}, 1U};
    }
    const std::int64_t earliest = wrappingSubtract(time, margin);
    const std::int64_t latest = wrappingAdd(time, margin);
    const Interval first(memo.start(spec, earliest), memo.end(spec, earliest));
    const Interval second(memo.start(spec, time), memo.end(spec, latest));
    return {{first, second}, first == second ? 1U : 2U};
}

} // namespace

RowBoxes::RowBoxes(const Event& event, const Position& position,
                   const Configuration::Row& configured, TimeBoxMemo& memo)
    : depth_(configured.master->stbSpec.geoHashBitDepth),
      times_(timeBoxesOf(
          event.time,
          scaledTimeTolerance(event.timeTolerance, configured.tests.row().timeToleranceFactor),
          configured.master->stbSpec, memo)) {
    position.findNear(depth_, event.spaceTolerance * configured.tests.row().spaceToleranceFactor,
                      near_);
}

} // namespace qorvel_detail
