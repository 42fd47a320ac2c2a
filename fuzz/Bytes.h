#ifndef QORVEL_FUZZ_BYTES_H
#define QORVEL_FUZZ_BYTES_H

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <string>

/// Reads arguments from the fuzzer's input. Beyond its end everything reads as 0, so that every
/// prefix of an input is one too.
class Bytes {
public:
    Bytes(const std::uint8_t* data, std::size_t size) : next_(data), end_(data + size) {}

    bool empty() const { return next_ == end_; }

    /// The next 1 to 8 bytes as a number, the lowest byte first.
    std::uint64_t take(unsigned count) {
        std::uint64_t value = 0;
        for (unsigned i = 0; i < count && !empty(); ++i) {
            value |= std::uint64_t{*next_++} << (8 * i);
        }
        return value;
    }

    /// Any number of the type.
    template <class Integer>
    Integer whole() {
        return static_cast<Integer>(take(sizeof(Integer)));
    }

    template <class T>
    T pick(std::initializer_list<T> from) {
        return from.begin()[take(1) % from.size()];
    }

    /// A small number or any.
    std::uint32_t count() {
        const auto small = static_cast<std::uint32_t>(take(1));
        return small < 200 ? small : whole<std::uint32_t>();
    }

    /// Any double; more often than chance would have it one within `range` of 0, at its ends, or
    /// none at all.
    double number(double range) {
        switch (take(1) % 8) {
        case 0:
            return std::bit_cast<double>(take(8));
        case 1:
            return pick({0.0, -0.0, range, -range, std::nextafter(range, 0), 2 * range,
                         std::numeric_limits<double>::quiet_NaN(), HUGE_VAL, -HUGE_VAL,
                         std::numeric_limits<double>::denorm_min()});
        default:
            return within(range);
        }
    }

    /// From -range to range, both reached, in 2^32 steps.
    double within(double range) {
        const double unit = static_cast<double>(whole<std::int32_t>()) / 2147483647.0;
        return range * std::max(unit, -1.0);
    }

    /// Any bytes, at most 63; or the same few again and again, so that texts can be longer.
    std::string text() {
        std::string once;
        const std::uint64_t shape = take(1);
        for (std::uint64_t left = shape % 64; left > 0 && !empty(); --left) {
            once += static_cast<char>(take(1));
        }
        return shape < 192 ? once : once + once + once + once;
    }

    /// One of 65536 names: registries keep every name that they are shown.
    std::string name() {
        const auto key = static_cast<std::uint32_t>(take(2));
        return std::string(key % 40, 'n') + static_cast<char>(key) + static_cast<char>(key >> 8U);
    }

private:
    const std::uint8_t* next_;
    const std::uint8_t* end_;
};

#endif
