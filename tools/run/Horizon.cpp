#include "tools/run/Horizon.h"

#include "tools/Failure.h"
#include "tools/input/FixSource.h"
#include "tools/run/Progress.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

namespace host {

namespace {

constexpr std::int64_t kFarFuture = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kOneDay = 86400000;

/// Rows share an entry by blocks, so that even 10^9 of them need but a few MB.
constexpr std::size_t kBlock = 1024;

/// Known from a first reading.
class KnownHorizon : public Horizon {
public:
    /// @param blockMinima  the oldest time of each block of rows
    explicit KnownHorizon(std::vector<std::int64_t> blockMinima) : oldest_(std::move(blockMinima)) {
        for (std::size_t block = oldest_.size(); block-- > 1;) {
            oldest_[block - 1] = std::min(oldest_[block - 1], oldest_[block]);
        }
    }

    bool isInTime(std::uint64_t row, std::int64_t time) override {
        row_ = row;
        if (time < oldestFrom(row_)) {
            throw Failure(ExitCode::broken, "the input changed while it was read");
        }
        return true;
    }

    std::int64_t oldestToCome() const override { return oldestFrom(row_ + 1); }

private:
    std::int64_t oldestFrom(std::uint64_t row) const {
        return row / kBlock < oldest_.size() ? oldest_[row / kBlock] : kFarFuture;
    }

    std::vector<std::int64_t> oldest_; ///< from the beginning of each block to the end of the input
    std::uint64_t row_ = 0;
};

class PromisedHorizon : public Horizon {
public:
    explicit PromisedHorizon(std::int64_t late) : late_(late) {}

    bool isInTime(std::uint64_t, std::int64_t time) override {
        const bool inTime = time >= oldestToCome();
        newest_ = std::max(newest_, time);
        return inTime;
    }

    std::int64_t oldestToCome() const override {
        return std::max(std::int64_t{0}, newest_ - late_); // no time is negative
    }

private:
    std::int64_t late_;
    std::int64_t newest_ = 0;
};

void readBlockMinima(FixSource& source, Progress& progress, std::vector<std::int64_t>& minima) {
    for (std::uint64_t row = 0; source.next(); ++row) {
        if (row % kBlock == 0) {
            minima.push_back(kFarFuture);
            progress.show(source.shareRead(), row);
        }
        minima.back() = std::min(minima.back(), source.readTime().value_or(kFarFuture));
    }
}

std::unique_ptr<Horizon> readThrough(FixSource& source, Progress& progress) {
    std::vector<std::int64_t> minima;
    try {
        progress.begin("reading times");
        readBlockMinima(source, progress, minima);
    } catch (const Failure&) {
        // The second reading will stop there too, after it has processed the rows before.
    }
    source.rewind();
    return std::make_unique<KnownHorizon>(std::move(minima));
}

} // namespace

std::unique_ptr<Horizon> makeHorizon(FixSource& source, std::optional<std::int64_t> late,
                                     Progress& progress) {
    if (late || !source.isRepeatable()) {
        return std::make_unique<PromisedHorizon>(late.value_or(kOneDay));
    }
    return readThrough(source, progress);
}

} // namespace host
