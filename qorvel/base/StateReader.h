#ifndef QORVEL_BASE_STATEREADER_H
#define QORVEL_BASE_STATEREADER_H

#include "qorvel/base/StateWriter.h"

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qorvel_detail {

/// Reads what a StateWriter wrote, and anything else without harm: beyond the end, and once
/// something was wrong, all reads as 0. So nothing need be looked at before the end but counts,
/// which are checked against the bytes that there are before anybody makes room for them.
class StateReader {
public:
    explicit StateReader(std::string_view bytes) : left_(bytes) {}

    bool isGood() const { return isGood_; }
    /// Was all of it read, and good?
    bool isDone() const { return isGood_ && left_.empty(); }
    /// What was read cannot be.
    void fail() {
        isGood_ = false;
        left_ = {};
    }
    void expect(bool holds) {
        if (!holds) {
            fail();
        }
    }

    std::uint8_t u8() { return static_cast<std::uint8_t>(get<1>()); }
    std::uint16_t u16() { return static_cast<std::uint16_t>(get<2>()); }
    std::uint32_t u32() { return static_cast<std::uint32_t>(get<4>()); }
    std::uint64_t u64() { return get<8>(); }
    std::int64_t i64() { return static_cast<std::int64_t>(u64()); }
    double f64() { return std::bit_cast<double>(u64()); }

    /// A time, or a count, that is not negative.
    std::int64_t time() {
        const std::int64_t value = i64();
        expect(value >= 0);
        return value;
    }
    /// A number whose absolute value is not larger than that; not NaN.
    double within(double limit) {
        const double value = f64();
        expect(std::abs(value) <= limit);
        return isGood_ ? value : 0.0;
    }
    bool flag() {
        const std::uint8_t value = u8();
        expect(value <= 1);
        return isGood_ && value == 1;
    }

    /// How many things of at least that many bytes follow.
    std::uint64_t count(std::size_t leastSize) {
        const std::uint64_t value = u64();
        expect(value <= left_.size() / leastSize);
        return isGood_ ? value : 0;
    }
    /// Bytes behind their length.
    std::string_view text() {
        const auto size = static_cast<std::size_t>(count(1));
        return take(size);
    }
    std::string_view take(std::size_t size) {
        expect(size <= left_.size());
        const std::string_view bytes = left_.substr(0, isGood_ ? size : 0);
        left_.remove_prefix(bytes.size());
        return bytes;
    }

private:
    template <std::size_t kSize>
    std::uint64_t get() {
        if (left_.size() < kSize) {
            fail();
            return 0;
        }
        std::uint64_t value = 0;
        for (std::size_t i = kSize; i-- > 0;) {
            value = value << 8U | static_cast<unsigned char>(left_[i]);
        }
        left_.remove_prefix(kSize);
        return value;
    }

    std::string_view left_;
    bool isGood_ = true;
};

} // namespace qorvel_detail

#endif
