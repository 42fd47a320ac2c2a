#ifndef QORVEL_ENGINE_COLUMNS_REALVALUES_H
#define QORVEL_ENGINE_COLUMNS_REALVALUES_H

#include "engine/columns/Values.h"

namespace qorvel_engine {

/// A column of numbers with a fraction, read in place.
class RealValues : public Values {
public:
    /// A column that is null in every row.
    RealValues() noexcept = default;

    /// A value a row from `values[first]` on; `validity` may be null.
    explicit RealValues(const double* values, const void* validity = nullptr,
                        std::int64_t first = 0) noexcept
        : Values(values, validity, first) {}
    /// The same with single precision.
    explicit RealValues(const float* values, const void* validity = nullptr,
                        std::int64_t first = 0) noexcept
        : Values(values, validity, first), isSingle_(true) {}

    /// The value of a row that is not null; a single one exactly.
    double value(std::int64_t row) const noexcept {
        return isSingle_ ? static_cast<double>(at<float>(row)) : at<double>(row);
    }

private:
    bool isSingle_ = false;
};

} // namespace qorvel_engine

#endif
