#ifndef QORVEL_MODEL_DETAIL_TOLERANCE_H
#define QORVEL_MODEL_DETAIL_TOLERANCE_H

#include "qorvel/base/bits.h"

#include <cstdint>

namespace qorvel_detail {

/// A time tolerance (ms) scaled by a row's factor: truncated toward zero, of which the low 32 bits
/// are kept. Defined for factors that are negative, huge or NaN.
inline std::uint32_t scaledTimeTolerance(std::uint32_t tolerance, double factor) {
    return truncateToUint32(static_cast<double>(tolerance) * factor);
}

} // namespace qorvel_detail

#endif
