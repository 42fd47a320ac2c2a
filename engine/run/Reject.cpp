#include "engine/run/Reject.h"

#include "engine/columns/EntityDictionary.h"
#include "engine/columns/ResultLayout.h"

#include <string>

namespace qorvel_engine {

namespace {

struct RejectRow {
    std::int64_t row;
    std::int64_t code;
    std::string reason;

    static const ResultLayout<RejectRow>& layout() {
        using Layout = ResultLayout<RejectRow>;
        static const Layout layout(
            "rejects", "a row of the input that cannot be used",
            {Layout::whole<&RejectRow::row>("row", "", "its number, from 0"),
             Layout::whole<&RejectRow::code>("code", "", "the number of the reason"),
             Layout::text<&RejectRow::reason>("reason", "why it cannot be used")});
        return layout;
    }
};

} // namespace

ResultTable makeRejectTable(const std::vector<Reject>& rejects) {
    ResultTable table =
        RejectRow::layout().makeTable(std::make_shared<EntityDictionary>(EntityKind::text));
    for (const Reject& reject : rejects) {
        table.append(RejectRow{static_cast<std::int64_t>(reject.row),
                               static_cast<std::int64_t>(reject.reason),
                               reasonText(reject.reason)});
    }
    return table;
}

const ResultSchema& rejectSchema() {
    return RejectRow::layout().schema();
}

} // namespace qorvel_engine
