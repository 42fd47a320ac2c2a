#include "engine/run/detail/refuseState.h"

#include "engine/columns/Fault.h"

namespace qorvel_engine::detail {

using qorvel_detail::StateFault;
using qorvel_detail::StateFrame;

namespace {

[[noreturn]] void refuse(StateFault fault) {
    const auto sentence = [fault] {
        switch (fault) {
        case StateFault::noState:
            return "This is no saved state.";
        case StateFault::newer:
            return "The state is of a newer format; load it with the version that saved it, or a "
                   "later one.";
        case StateFault::cutShort:
            return "The state is cut short; take a complete copy, or an older state.";
        case StateFault::otherKind:
            return "The state is that of something else: a session loads what a session saved, and "
                   "is given what was taken out of one, a run what a run saved.";
        case StateFault::otherConfiguration:
            return "The state was saved with another question, configuration or option; open the "
                   "session with those that it was saved with.";
        case StateFault::unknownSection:
            return "The state has a section that this version does not know; load it with the "
                   "version that saved it, or a later one.";
        default:
            return "The state is damaged: a check sum or a value in it is wrong; take an intact "
                   "copy, or an older state.";
        }
    };
    throw Fault(FaultCode::badState, sentence());
}

} // namespace

void expectGood(bool isGood) {
    if (!isGood) {
        refuse(StateFault::damaged);
    }
}

StateFrame frameOf(std::string_view bytes, std::uint32_t kind, std::uint64_t fingerprint,
                   std::initializer_list<std::uint32_t> known) {
    StateFrame frame;
    const StateFault fault = frame.read(bytes, kind, fingerprint, known);
    if (fault != StateFault::none) {
        refuse(fault);
    }
    return frame;
}

} // namespace qorvel_engine::detail
