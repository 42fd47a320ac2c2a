#include "qorvel/model/TimeBox.h"

#include "qorvel/base/bits.h"

QORVEL_BEGIN_NAMESPACE

TimeBox::TimeBox() : start(0), end(INT64_MAX) {}

TimeBox::TimeBox(std::int64_t boxStart, std::int64_t boxEnd)
    : start(boxStart), end(boxEnd > boxStart ? boxEnd : qorvel_detail::wrappingAdd(boxStart, 1)) {}

TimeBox::~TimeBox() = default;

QORVEL_END_NAMESPACE
