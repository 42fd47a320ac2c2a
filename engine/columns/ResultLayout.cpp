#include "engine/columns/ResultLayout.h"

#include "engine/columns/Fault.h"

#include <set>

namespace qorvel_engine::detail {

void checkNames(const ResultSchema& schema) {
    std::set<std::string> names{""};
    for (const ResultColumn& column : schema.columns) {
        if (!names.insert(column.name).second) {
            throw Fault(FaultCode::misuse, "The results \"" + schema.name +
                                               "\" have two columns called \"" + column.name +
                                               "\", or one without a name.");
        }
    }
}

} // namespace qorvel_engine::detail
