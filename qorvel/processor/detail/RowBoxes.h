#ifndef QORVEL_PROCESSOR_DETAIL_ROWBOXES_H
#define QORVEL_PROCESSOR_DETAIL_ROWBOXES_H

#include "qorvel/base/bits.h"
#include "qorvel/geohash/detail/NearCells.h"
#include "qorvel/geohash/detail/Position.h"
#include "qorvel/model/Event.h"
#include "qorvel/model/detail/TimeBoxMemo.h"
#include "qorvel/processor/detail/Configuration.h"

#include <array>
#include <cstdint>

namespace qorvel_detail {

/// A TimeBox without its class.
struct Interval {
    /// Never empty, as TimeBox has it.
    Interval(std::int64_t start, std::int64_t theEnd)
        : from(start), end(theEnd > start ? theEnd : wrappingAdd(start, 1)) {}

    bool operator==(const Interval&) const = default;

    std::int64_t from;
    std::int64_t end;
};

/// The one or two time boxes of an event.
struct TimeBoxes {
    std::array<Interval, 2> boxes;
    std::uint32_t count;
};

/// The boxes that a row gives an event: every near cell with every time box.
class RowBoxes {
public:
    /// The row has a master.
    /// @param memo  of that master's times
    RowBoxes(const Event& event, const Position& position, const Configuration::Row& configured,
             TimeBoxMemo& memo);

    /// May two of them be the same? Where there are so few cells that the neighbours on both sides
    /// are one, or so many bits that steps wrap.
    bool mayRepeat() const { return depth_ < kLeastDistinctDepth || depth_ > kMaxDepth; }

    /// Calls with each cell and time box.
    template <typename Insert>
    void forEach(const Insert& insert) const {
        for (std::uint32_t cell = 0; cell < near_.count; ++cell) {
            for (std::uint32_t time = 0; time < times_.count; ++time) {
                insert(near_.cells[cell], times_.boxes[time]);
            }
        }
    }

private:
    static constexpr std::uint32_t kLeastDistinctDepth = 4;

    std::uint32_t depth_;
    TimeBoxes times_;
    NearCells near_;
};

} // namespace qorvel_detail

#endif
