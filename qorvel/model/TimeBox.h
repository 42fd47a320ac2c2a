#ifndef QORVEL_MODEL_TIMEBOX_H
#define QORVEL_MODEL_TIMEBOX_H

#include "qorvel/config.h"

#include <cstdint>

QORVEL_BEGIN_NAMESPACE

/// A half-open interval of time stamps, milliseconds since 1970-01-01 00:00:00 UTC.
class QORVEL_EXPORT TimeBox {
public:
    /// [0, 9223372036854775807), the box of the unit "ever".
    TimeBox();

    /// A box is never empty: an end at or before the start becomes start + 1 (which wraps for the
    /// largest start).
    TimeBox(std::int64_t start, std::int64_t end);

    TimeBox(const TimeBox&) = default;
    TimeBox& operator=(const TimeBox&) = default;
    virtual ~TimeBox();

    /// Same start and same end.
    bool operator==(const TimeBox& other) const { return start == other.start && end == other.end; }

    /// First millisecond inside the box.
    std::int64_t start;
    /// First millisecond after the box.
    std::int64_t end;
};

QORVEL_END_NAMESPACE

#endif
