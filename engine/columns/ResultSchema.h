#ifndef QORVEL_ENGINE_COLUMNS_RESULTSCHEMA_H
#define QORVEL_ENGINE_COLUMNS_RESULTSCHEMA_H

#include "engine/export.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qorvel_engine {

/// What the values of a column are, from which every format makes its own.
enum class ResultKind : std::uint8_t {
    entity,  ///< the number of an entity, which has a name
    text,    ///< UTF-8
    degrees, ///< a real number
    metres,  ///< a real number
    hours,   ///< a real number
    whole,   ///< an integer
    time,    ///< ms since 1970 UTC
    boxEnd   ///< the same, at which a time box ends; there may be no end, see isEver
};

/// Does a time box that ends at this time, ms since 1970 UTC, last for ever? Ends from the year
/// 10000 on are none: they come of boxes "ever", and of sums beyond all calendars.
constexpr bool isEver(std::int64_t boxEnd) noexcept {
    return boxEnd >= 253402300800000;
}

/// A column of results.
struct ResultColumn {
    std::string name;        ///< in lower case
    ResultKind kind;         ///< what its values are
    std::string unit;        ///< such as "min"; empty where there is none
    std::string description; ///< a sentence without a full stop
    bool isNullable = false; ///< may a value be missing?
};

/// The one description of a kind of result: files, tables of other systems and the documentation
/// are made from it.
struct ResultSchema {
    std::string name;        ///< such as "hangouts"
    std::string description; ///< a sentence without a full stop: what a row is
    std::vector<ResultColumn> columns;
};

} // namespace qorvel_engine

#endif
