#include "engine/columns/Observations.h"

#include "engine/columns/detail/checkText.h"

#include <algorithm>
#include <limits>

namespace qorvel_engine {

namespace {

/// Enough for a loop without an end in sight.
constexpr std::int64_t kRowsAtOnce = 64;

RowReason checkText(std::string_view text, RowReason notUtf8, RowReason hasNul) {
    switch (detail::checkText(text)) {
    case detail::TextFault::notUtf8:
        return notUtf8;
    case detail::TextFault::hasNul:
        return hasNul;
    default:
        return RowReason::none;
    }
}

RowReason checkEntity(const ObservationColumns& columns, std::int64_t row) {
    if (columns.entityKind != EntityKind::text) {
        return columns.entityNumber.isNull(row) ? RowReason::entityMissing : RowReason::none;
    }
    if (columns.entityText.isNull(row)) {
        return RowReason::entityMissing;
    }
    const std::string_view text = columns.entityText.text(row);
    return text.empty() ? RowReason::entityMissing
                        : checkText(text, RowReason::entityNotUtf8, RowReason::entityHasNul);
}

/// Is there nothing to say of the entities of these rows? False also where that takes a closer
/// look.
bool areEntitiesGood(const ObservationColumns& columns, std::int64_t from, std::int64_t to) {
    if (columns.entityKind != EntityKind::text) {
        return columns.entityNumber.hasAll();
    }
    const std::string_view names = columns.entityText.textsOf(from, to);
    return !names.empty() && detail::isPlainText(names);
}

RowReason checkDegrees(const RealValues& values, std::int64_t row, double most, RowReason missing,
                       RowReason outOfRange) {
    if (values.isNull(row)) {
        return missing;
    }
    const double value = values.value(row);
    // Written so that a NaN fails.
    return value >= -most && value <= most ? RowReason::none : outOfRange;
}

RowReason checkTime(const TimeValues& values, std::int64_t row) {
    if (values.isNull(row)) {
        return RowReason::timeMissing;
    }
    if (values.milliseconds(row) < 0) {
        return RowReason::timeNegative;
    }
    if (values.isOutOfRange(row)) {
        return RowReason::timeOutOfRange;
    }
    return values.isDoubtful(row) ? RowReason::timeDoubtful : RowReason::none;
}

RowReason checkAccuracy(const RealValues& values, std::int64_t row) {
    if (values.isNull(row)) {
        return RowReason::none;
    }
    const double value = values.value(row);
    return value >= 0.0 && value <= std::numeric_limits<double>::max()
               ? RowReason::none
               : RowReason::accuracyOutOfRange;
}

/// Without a look at each value's reason, so that the loops run on several rows at once.
bool areWithin(const RealValues& values, std::int64_t from, std::int64_t to, double least,
               double most) {
    bool isGood = values.hasAll();
    for (std::int64_t row = from; isGood && row < to; row += kRowsAtOnce) {
        const std::int64_t end = std::min(to, row + kRowsAtOnce);
        for (std::int64_t at = row; at < end; ++at) {
            const double value = values.value(at);
            isGood = isGood & (value >= least) & (value <= most);
        }
    }
    return isGood;
}

bool areTimes(const TimeValues& values, std::int64_t from, std::int64_t to) {
    bool isGood = values.hasAll();
    for (std::int64_t row = from; isGood && row < to; ++row) {
        isGood = checkTime(values, row) == RowReason::none;
    }
    return isGood;
}

/// Is there nothing to say of the numbers of these rows?
bool areNumbersGood(const ObservationColumns& columns, std::int64_t from, std::int64_t to) {
    const bool isAccurate =
        !columns.accuracy.isThere() ||
        areWithin(columns.accuracy, from, to, 0.0, std::numeric_limits<double>::max());
    return isAccurate && areWithin(columns.latitude, from, to, -90.0, 90.0) &&
           areWithin(columns.longitude, from, to, -180.0, 180.0) &&
           areTimes(columns.time, from, to);
}

RowReason checkKey(const TextColumn& keys, std::int64_t row, RowReason notUtf8, RowReason hasNul) {
    return keys.isNull(row) ? RowReason::none : checkText(keys.text(row), notUtf8, hasNul);
}

} // namespace

std::int64_t Observations::oldestTime() const noexcept {
    std::int64_t oldest = std::numeric_limits<std::int64_t>::max();
    for (std::int64_t row = 0; row < columns_.size; ++row) {
        if (checkTime(columns_.time, row) == RowReason::none) {
            oldest = std::min(oldest, columns_.time.milliseconds(row));
        }
    }
    return oldest;
}

bool Observations::check(std::int64_t from, std::int64_t to, RowReason* reasons) const noexcept {
    const bool isPlain = columns_.rows.bits == nullptr && areNumbersGood(columns_, from, to);
    const bool hasKeys = columns_.primaryKey.isThere() || columns_.secondaryKey.isThere();
    if (isPlain && !hasKeys && areEntitiesGood(columns_, from, to)) {
        std::fill(reasons, reasons + (to - from), RowReason::none);
        return true;
    }
    bool isGood = true;
    for (std::int64_t row = from; row < to; ++row) {
        const RowReason reason = isPlain && !hasKeys ? checkEntity(columns_, row) : check(row);
        reasons[row - from] = reason;
        isGood = isGood && reason == RowReason::none;
    }
    return isGood;
}

RowReason Observations::check(std::int64_t row) const noexcept {
    if (!columns_.rows.has(known(row))) {
        return RowReason::rowMissing;
    }
    RowReason reason = checkEntity(columns_, row);
    if (reason == RowReason::none) {
        reason = checkDegrees(columns_.latitude, row, 90.0, RowReason::latitudeMissing,
                              RowReason::latitudeOutOfRange);
    }
    if (reason == RowReason::none) {
        reason = checkDegrees(columns_.longitude, row, 180.0, RowReason::longitudeMissing,
                              RowReason::longitudeOutOfRange);
    }
    if (reason == RowReason::none) {
        reason = checkTime(columns_.time, row);
    }
    if (reason == RowReason::none) {
        reason = checkAccuracy(columns_.accuracy, row);
    }
    if (reason == RowReason::none) {
        reason = checkKey(columns_.primaryKey, row, RowReason::primaryKeyNotUtf8,
                          RowReason::primaryKeyHasNul);
    }
    if (reason == RowReason::none) {
        reason = checkKey(columns_.secondaryKey, row, RowReason::secondaryKeyNotUtf8,
                          RowReason::secondaryKeyHasNul);
    }
    return reason;
}

} // namespace qorvel_engine
