#include "engine/columns/RowReason.h"

namespace qorvel_engine {

const char* reasonText(RowReason reason) noexcept {
    switch (reason) {
    case RowReason::none:
        return "";
    case RowReason::rowMissing:
        return "the row is null";
    case RowReason::entityMissing:
        return "the entity is missing";
    case RowReason::entityNotUtf8:
        return "the entity is not UTF-8";
    case RowReason::entityHasNul:
        return "the entity has a NUL character";
    case RowReason::latitudeMissing:
        return "the latitude is missing";
    case RowReason::latitudeOutOfRange:
        return "the latitude is no number from -90 to 90";
    case RowReason::longitudeMissing:
        return "the longitude is missing";
    case RowReason::longitudeOutOfRange:
        return "the longitude is no number from -180 to 180";
    case RowReason::timeMissing:
        return "the time is missing";
    case RowReason::timeNegative:
        return "the time is before 1970";
    case RowReason::timeOutOfRange:
        return "the time is too far from 1970 to be counted in milliseconds";
    case RowReason::accuracyOutOfRange:
        return "the accuracy is no number of metres from 0 on";
    case RowReason::primaryKeyNotUtf8:
        return "the primary key is not UTF-8";
    case RowReason::primaryKeyHasNul:
        return "the primary key has a NUL character";
    case RowReason::secondaryKeyNotUtf8:
        return "the secondary key is not UTF-8";
    case RowReason::secondaryKeyHasNul:
        return "the secondary key has a NUL character";
    case RowReason::timeDoubtful:
        return "the time lies beyond the year 5138 if it counts milliseconds; give one in another "
               "unit as a timestamp";
    }
    return "";
}

} // namespace qorvel_engine
