#ifndef QORVEL_ENGINE_ANALYSIS_DETAIL_FIXNUMBERS_H
#define QORVEL_ENGINE_ANALYSIS_DETAIL_FIXNUMBERS_H

#include <algorithm>
#include <cstdint>

namespace qorvel_engine::detail {

/// Numbers the fixes of one entity in the order in which they come, from 0, and knows which of them
/// are done with.
class FixNumbers {
public:
    std::uint64_t add(std::int64_t time) {
        latest_ = std::max(latest_, time);
        return count_++;
    }

    /// No series remembers what was before this time, and nothing older comes. In disorder a fix
    /// may be older than those before it, so what counts is the latest of all up to a number; to
    /// know it for some numbers is enough.
    void forget(std::int64_t time) {
        if (latest_ < time) {
            firstNeeded_ = count_;
        } else if (latestBeforeMark_ < time) {
            firstNeeded_ = mark_;
            mark_ = count_;
            latestBeforeMark_ = latest_;
        }
    }

    /// Records to come cover none before this one.
    std::uint64_t firstNeeded() const { return firstNeeded_; }

    bool areDone() const { return firstNeeded_ == count_; }

private:
    std::uint64_t count_ = 0;
    std::uint64_t firstNeeded_ = 0;
    std::int64_t latest_ = 0;
    std::uint64_t mark_ = 0; ///< what is needed, when the fixes before it are done with
    std::int64_t latestBeforeMark_ = 0;
};

} // namespace qorvel_engine::detail

#endif
