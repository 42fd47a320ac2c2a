#ifndef QORVEL_ENGINE_COLUMNS_ROWREASON_H
#define QORVEL_ENGINE_COLUMNS_ROWREASON_H

#include "engine/export.h"

#include <cstdint>

namespace qorvel_engine {

/// Why a row cannot be used. The numbers never change.
enum class RowReason : std::uint8_t {
    none = 0,                 ///< it can be used
    rowMissing = 1,           ///< the row as a whole is null
    entityMissing = 2,        ///< null or an empty text
    entityNotUtf8 = 3,        ///< bytes that are no UTF-8
    entityHasNul = 4,         ///< a NUL byte
    latitudeMissing = 5,      ///< null
    latitudeOutOfRange = 6,   ///< not from -90 to 90, or not a number
    longitudeMissing = 7,     ///< null
    longitudeOutOfRange = 8,  ///< not from -180 to 180, or not a number
    timeMissing = 9,          ///< null
    timeNegative = 10,        ///< before 1970
    timeOutOfRange = 11,      ///< no millisecond in 64 bits
    accuracyOutOfRange = 12,  ///< negative, infinite, or not a number
    primaryKeyNotUtf8 = 13,   ///< bytes that are no UTF-8
    primaryKeyHasNul = 14,    ///< a NUL byte
    secondaryKeyNotUtf8 = 15, ///< bytes that are no UTF-8
    secondaryKeyHasNul = 16,  ///< a NUL byte
    timeDoubtful = 17         ///< a number without a unit, beyond the year 5138 in milliseconds
};

/// A sentence without a full stop, such as "the latitude is missing"; an empty text for `none` and
/// for numbers that are no reason.
QORVEL_ENGINE_EXPORT const char* reasonText(RowReason reason) noexcept;

} // namespace qorvel_engine

#endif
