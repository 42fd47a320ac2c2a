#include "qorvel/model/hash_SpaceTimeBox.h"

QORVEL_BEGIN_NAMESPACE

namespace {

std::uint64_t timeHash(const TimeBox& box) {
    constexpr std::uint64_t lowHalf = 0xFFFFFFFF;
    return (static_cast<std::uint64_t>(box.start) << 32) |
           (static_cast<std::uint64_t>(box.end) & lowHalf);
}

} // namespace

std::uint64_t hash_SpaceTimeBox::operator()(const SpaceTimeBox& box) const {
    return box.hashCode() ^ timeHash(box);
}

QORVEL_END_NAMESPACE
