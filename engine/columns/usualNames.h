#ifndef QORVEL_ENGINE_COLUMNS_USUALNAMES_H
#define QORVEL_ENGINE_COLUMNS_USUALNAMES_H

#include "engine/export.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace qorvel_engine {

/// What a column of observations is usually called in tables of others.
struct UsualNames {
    const char* field; ///< as ColumnNames has it, such as "lat"; "hdop" in place of an accuracy

    /// In small letters. The first rank of which a name is there counts: the more telling one
    /// first.
    std::vector<std::vector<std::string_view>> ranks;

    /// Which of these columns the field may be: those of the first rank that any of them has. There
    /// may be several, or none.
    QORVEL_ENGINE_EXPORT std::vector<std::size_t>
    find(const std::vector<std::string>& columns) const;
};

/// In the order of ColumnNames, which "hdop" follows: a dilution of precision, which is not in
/// metres and only better than nothing.
QORVEL_ENGINE_EXPORT const std::vector<UsualNames>& usualNames();

/// Has a column that usual name, apart from case and from what stands between its words:
/// "deviceId", "Device ID" and "device-id" are device_id?
QORVEL_ENGINE_EXPORT bool isUsualName(std::string_view column, std::string_view usualName) noexcept;

} // namespace qorvel_engine

#endif
