#ifndef QORVEL_ENGINE_COLUMNS_WHOLEVALUES_H
#define QORVEL_ENGINE_COLUMNS_WHOLEVALUES_H

#include "engine/columns/Values.h"

#include <type_traits>

namespace qorvel_engine {

/// A column of integers of any width, read in place.
class WholeValues : public Values {
public:
    /// A column that is null in every row.
    WholeValues() noexcept = default;

    /// A value a row from `values[first]` on; `validity` may be null. The type is one of those with
    /// a width, such as std::int16_t.
    template <class Integer>
    explicit WholeValues(const Integer* values, const void* validity = nullptr,
                         std::int64_t first = 0) noexcept
        : WholeValues(sizeof(Integer), std::is_signed<Integer>::value, values, validity, first) {
        static_assert(std::is_integral<Integer>::value, "whole numbers");
    }

    /// The same, the type by its width in bytes (1, 2, 4 or 8) and whether it has a sign.
    WholeValues(std::size_t width, bool isSigned, const void* values, const void* validity,
                std::int64_t first) noexcept
        : Values(values, validity, first), width_(static_cast<std::uint8_t>(width)),
          isSigned_(isSigned) {}

    /// May the values be negative?
    bool isSigned() const noexcept { return isSigned_; }

    /// The value of a row that is not null, as 64 bits: a negative one as two's complement.
    std::uint64_t bits(std::int64_t row) const noexcept {
        switch (width_) {
        case 1:
            return extended<std::int8_t, std::uint8_t>(row);
        case 2:
            return extended<std::int16_t, std::uint16_t>(row);
        case 4:
            return extended<std::int32_t, std::uint32_t>(row);
        default:
            return at<std::uint64_t>(row);
        }
    }

private:
    template <class Signed, class Unsigned>
    std::uint64_t extended(std::int64_t row) const noexcept {
        return isSigned_ ? static_cast<std::uint64_t>(std::int64_t{at<Signed>(row)})
                         : std::uint64_t{at<Unsigned>(row)};
    }

    std::uint8_t width_ = 8;
    bool isSigned_ = true;
};

} // namespace qorvel_engine

#endif
