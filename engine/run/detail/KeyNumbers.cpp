#include "engine/run/detail/KeyNumbers.h"

#include "qorvel/model/PrimaryKey.h"
#include "qorvel/model/SecondaryKey.h"

namespace qorvel_engine::detail {

KeyNumbers::KeyNumbers(const Config& config) {
    add(config.assignments);
    add(config.presence);
    add(config.hangouts);
    any_ = qorvel::PrimaryKey::getPrimaryKeyInt(anyPrimaryKey());
    none_ = find(secondary_, "");
}

template <class Entries>
void KeyNumbers::add(const Entries& entries) {
    for (const auto& entry : entries) {
        primary_.emplace(entry.primaryKey, qorvel::PrimaryKey::getPrimaryKeyInt(entry.primaryKey));
        secondary_.emplace(entry.secondaryKey,
                           qorvel::SecondaryKey::getSecondaryKeyInt(entry.secondaryKey));
    }
}

} // namespace qorvel_engine::detail
