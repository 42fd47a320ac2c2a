#ifndef QORVEL_ENGINE_RUN_DETAIL_INTERVALCOUNTS_H
#define QORVEL_ENGINE_RUN_DETAIL_INTERVALCOUNTS_H

#include "engine/analysis/detail/state.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace qorvel_engine::detail {

/// Lengths of time, counted by their first five binary digits, in memory that does not grow. Their
/// median is known to 1 / 16: it is the mean of those that begin like it.
class IntervalCounts {
public:
    /// @param length  ms, above 0
    void add(std::int64_t length) {
        const std::size_t place = placeOf(static_cast<std::uint64_t>(length));
        ++counts_[place];
        sums_[place] += static_cast<double>(length);
        ++count_;
    }

    void save(StateWriter& out) const {
        out.u64(static_cast<std::uint64_t>(std::count_if(
            counts_.begin(), counts_.end(), [](std::uint64_t count) { return count > 0; })));
        for (std::size_t place = 0; place < counts_.size(); ++place) {
            if (counts_[place] > 0) {
                out.u32(static_cast<std::uint32_t>(place));
                out.u64(counts_[place]);
                out.f64(sums_[place]);
            }
        }
    }
    /// Into one of none.
    void load(StateReader& in) {
        constexpr std::size_t kPlaceSize = 4 + 8 + 8;
        constexpr double kMostSum = 1e38;
        for (std::uint64_t left = in.count(kPlaceSize); left > 0 && in.isGood(); --left) {
            const std::uint32_t place = in.u32();
            const std::uint64_t count = in.u64();
            const double sum = in.within(kMostSum);
            in.expect(place < counts_.size() && count > 0 && sum >= 0.0);
            if (in.isGood()) {
                counts_[place] = count;
                sums_[place] = sum;
                count_ += count;
            }
        }
    }

    /// None of none.
    std::optional<std::int64_t> median() const {
        std::uint64_t before = 0;
        for (std::size_t place = 0; place < counts_.size(); ++place) {
            before += counts_[place];
            if (2 * before > count_) {
                constexpr double kMost = 9e18;
                const double mean = sums_[place] / static_cast<double>(counts_[place]);
                return std::llround(std::min(mean, kMost));
            }
        }
        return std::nullopt;
    }

private:
    static constexpr unsigned kDigits = 4; ///< after the first
    static constexpr std::size_t kSteps = std::size_t{1} << kDigits;

    /// Shorter ones than 2^5 have a place of their own.
    static std::size_t placeOf(std::uint64_t length) {
        const auto width = static_cast<unsigned>(std::bit_width(length));
        const unsigned shift = width > kDigits + 1 ? width - kDigits - 1 : 0;
        return shift * kSteps + static_cast<std::size_t>(length >> shift);
    }

    std::array<std::uint64_t, 62 * kSteps> counts_{};
    std::array<double, 62 * kSteps> sums_{};
    std::uint64_t count_ = 0;
};

} // namespace qorvel_engine::detail

#endif
