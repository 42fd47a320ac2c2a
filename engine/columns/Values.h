#ifndef QORVEL_ENGINE_COLUMNS_VALUES_H
#define QORVEL_ENGINE_COLUMNS_VALUES_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qorvel_engine {

/// The value at `index` of what begins at `base`. Arrow does not promise that buffers are aligned.
template <class T>
T loadAt(const void* base, std::int64_t index) noexcept {
    T value;
    std::memcpy(&value,
                static_cast<const char*>(base) + static_cast<std::size_t>(index) * sizeof(T),
                sizeof(T));
    return value;
}

/// Which values of a column are there: a bit each, the lowest of a byte first.
struct Validity {
    const void* bits = nullptr; ///< null: all are there
    std::int64_t first = 0;     ///< the place of row 0

    /// Is the value there?
    bool has(std::int64_t row) const noexcept {
        const std::int64_t bit = first + row;
        return bits == nullptr || (loadAt<std::uint8_t>(bits, bit / 8) >> (bit % 8) & 1) != 0;
    }
};

/// What the columns that are read in place have in common. They own nothing, and a row that is
/// asked for must be one of the column's.
class Values {
public:
    /// Is there such a column?
    bool isThere() const noexcept { return values_ != nullptr; }

    /// Is there a value in every row, as far as can be told without looking at each?
    bool hasAll() const noexcept { return isThere() && validity_.bits == nullptr; }

    /// Is there no such column, or no value in this row?
    bool isNull(std::int64_t row) const noexcept {
        return values_ == nullptr || !validity_.has(row);
    }

protected:
    /// A column that is null in every row.
    Values() noexcept = default;

    /// Row 0 stands at the place `first`, its bit too.
    Values(const void* values, const void* validity, std::int64_t first) noexcept
        : values_(values), validity_{validity, first} {}

    /// The row's value, if values are of type T.
    template <class T>
    T at(std::int64_t row) const noexcept {
        return loadAt<T>(values_, validity_.first + row);
    }

    /// Where the row's value stands, if values take `width` bytes.
    const char* placeOf(std::int64_t row, std::size_t width) const noexcept {
        return static_cast<const char*>(values_) +
               static_cast<std::size_t>(validity_.first + row) * width;
    }

private:
    const void* values_ = nullptr;
    Validity validity_;
};

} // namespace qorvel_engine

#endif
