#ifndef QORVEL_MODEL_DETAIL_TIMEBOXMEMO_H
#define QORVEL_MODEL_DETAIL_TIMEBOXMEMO_H

#include "qorvel/model/TimeBoxSpec.h"

#include <cstdint>

namespace qorvel_detail {

/// The time box that was asked for last: to find one takes divisions, and events come so close in
/// time that most lie in the box of the one before.
class TimeBoxMemo {
public:
    /// As TimeBoxSpec::getTimeBoxStart and getTimeBoxEnd.
    std::int64_t start(const TimeBoxSpec& spec, std::int64_t time) {
        return holds(spec, time) ? start_ : find(spec, time).start_;
    }
    std::int64_t end(const TimeBoxSpec& spec, std::int64_t time) {
        return holds(spec, time) ? end_ : find(spec, time).end_;
    }

    /// The same of a time near the one that was asked for; what is remembered stays.
    std::int64_t startNear(const TimeBoxSpec& spec, std::int64_t time) const {
        return holds(spec, time) ? start_ : spec.getTimeBoxStart(time);
    }
    std::int64_t endNear(const TimeBoxSpec& spec, std::int64_t time) const {
        return holds(spec, time) ? end_ : spec.getTimeBoxEnd(time);
    }

private:
    bool holds(const TimeBoxSpec& spec, std::int64_t time) const {
        return start_ <= time && time < tilesUpTo_ && spec.count == count_ && spec.unit == unit_;
    }
    const TimeBoxMemo& find(const TimeBoxSpec& spec, std::int64_t time) {
        count_ = spec.count;
        unit_ = spec.unit;
        start_ = spec.getTimeBoxStart(time);
        end_ = spec.getTimeBoxEnd(time);
        tilesUpTo_ = start_ >= 0 && time >= 0 && tiles(spec) ? end_ : start_;
        return *this;
    }

    /// Do all times of a box that begins at 0 or later have that box? Months restart each January,
    /// while the last box of a year may reach into the next one.
    static bool tiles(const TimeBoxSpec& spec) {
        constexpr std::uint32_t kYear = 12;
        return spec.unit != TimeBoxSpec::kMonths || (spec.count != 0 && kYear % spec.count == 0);
    }

    std::uint32_t count_ = 0;
    std::uint32_t unit_ = TimeBoxSpec::kInvalid;
    std::int64_t start_ = 0;
    std::int64_t end_ = 0;
    std::int64_t tilesUpTo_ = 0; ///< times from the start to before it have this box
};

} // namespace qorvel_detail

#endif
