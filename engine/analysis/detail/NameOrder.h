#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_NAMEORDER_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_NAMEORDER_H

#include "engine/columns/EntityNames.h"

#include <cstdint>

namespace qorvel_engine::detail {

/// Entities in the order of their names: texts by their bytes, integers as numbers.
class NameOrder {
public:
    explicit NameOrder(const EntityNames& names) : names_(names) {}

    /// Does the first of these numbers of entities come before the other?
    bool operator()(std::uint64_t left, std::uint64_t right) const {
        switch (names_.kind()) {
        case EntityKind::text:
            return names_.text(left) < names_.text(right);
        case EntityKind::int64:
            return static_cast<std::int64_t>(names_.bits(left)) <
                   static_cast<std::int64_t>(names_.bits(right));
        default:
            return names_.bits(left) < names_.bits(right);
        }
    }

private:
    const EntityNames& names_;
};

} // namespace qorvel_engine::detail

#endif
