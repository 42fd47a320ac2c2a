#ifndef QORVEL_HANGOUT_TSLISTITEM_H
#define QORVEL_HANGOUT_TSLISTITEM_H

#include "qorvel/config.h"

#include <cstdint>

QORVEL_BEGIN_NAMESPACE

/// One remembered presence of an entity near a cell. It covers [time - tolerance,
/// time + tolerance], both ends included.
struct TsListItem {
    /// The event's time stamp, ms.
    std::int64_t time = 0;
    /// Half-width of the covered interval, ms.
    std::uint32_t tolerance = 0;
    /// The event's sequence number.
    std::uint64_t sequenceNumber = 0;
};

QORVEL_END_NAMESPACE

#endif
