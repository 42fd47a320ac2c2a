#include "engine/analysis/StayRowResult.h"

namespace qorvel_engine {

const ResultLayout<StayRowResult>& StayRowResult::layout() {
    using Layout = ResultLayout<StayRowResult>;
    static const Layout layout("stay_rows", "a row of the input that belongs to a stay",
                               {Layout::whole<&StayRowResult::row>("row", "", "its number, from 0"),
                                Layout::entity<&StayRowResult::entity>("entity", "who stayed"),
                                Layout::time<&StayRowResult::from>("from", "when the stay began"),
                                Layout::time<&StayRowResult::to>("to", "when it ended")});
    return layout;
}

} // namespace qorvel_engine
