#include "testing/world/StayScore.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <tuple>

namespace world {

namespace {

constexpr std::int64_t kMinute = 60000;
constexpr std::int64_t kShortest = 15 * kMinute;

double metresBetween(const SceneStay& a, const SceneStay& b) {
    constexpr double kRadian = 0.017453292519943295;
    const double y = (a.lat - b.lat) * 111200.0;
    const double x = (a.lon - b.lon) * 111300.0 * std::cos(a.lat * kRadian);
    return std::sqrt(x * x + y * y);
}

std::int64_t overlap(const SceneStay& a, const SceneStay& b) {
    return std::min(a.to, b.to) - std::max(a.from, b.from);
}

double minutesBetween(std::int64_t a, std::int64_t b) {
    return std::abs(static_cast<double>(a - b)) / kMinute;
}

} // namespace

void StayScore::add(const StayScene& scene, const std::vector<SceneStay>& found) {
    fixes_ += scene.fixes.size();
    found_ += found.size();
    std::vector<Use> uses(found.size());
    std::size_t first = 0;
    for (const SceneStay& stay : scene.stays) {
        while (first < found.size() &&
               std::tie(found[first].entity, found[first].to) < std::tie(stay.entity, stay.from)) {
            ++first;
        }
        addStay(stay, found, first, uses);
    }
    for (const Use& use : uses) {
        wrong_ += use.isOfLong || use.isOfShort ? 0 : 1;
        merged_ += use.covered > 1 ? 1 : 0;
    }
    countShown(scene);
}

void StayScore::addStay(const SceneStay& stay, const std::vector<SceneStay>& found,
                        std::size_t first, std::vector<Use>& uses) {
    const bool isLong = stay.to - stay.from >= kShortest;
    int pieces = 0;
    bool isHit = false;
    for (std::size_t i = first;
         i < found.size() && found[i].entity == stay.entity && found[i].from < stay.to; ++i) {
        const std::int64_t common = overlap(stay, found[i]);
        const double metres = metresBetween(stay, found[i]);
        const bool isThere = metres <= 300.0;
        const bool isCovered = 2 * common >= stay.to - stay.from;
        pieces += isThere && common > 5 * kMinute ? 1 : 0;
        uses[i].covered += isLong && isCovered ? 1 : 0;
        (isLong ? uses[i].isOfLong : uses[i].isOfShort) |= isThere && isCovered;
        if (isLong && isThere && isCovered && !isHit) {
            isHit = true;
            begins_.push_back(minutesBetween(found[i].from, stay.from));
            ends_.push_back(minutesBetween(found[i].to, stay.to));
            places_.push_back(metres);
        }
    }
    true_ += isLong ? 1 : 0;
    hits_ += isHit ? 1 : 0;
    split_ += isLong && pieces > 1 ? 1 : 0;
}

void StayScore::countShown(const StayScene& scene) {
    const auto isBefore = [](const SceneFix& fix,
                             const std::pair<std::uint32_t, std::int64_t>& key) {
        return std::tie(fix.entity, fix.time) < std::tie(key.first, key.second);
    };
    for (const SceneStay& stay : scene.stays) {
        if (stay.to - stay.from < kShortest) {
            continue;
        }
        const auto find = [&](std::int64_t time) {
            return std::lower_bound(scene.fixes.begin(), scene.fixes.end(),
                                    std::pair(stay.entity, time), isBefore);
        };
        const auto begin = find(stay.from);
        const auto end = find(stay.to);
        const std::int64_t length = begin == end ? 0 : std::prev(end)->time - begin->time;
        const bool isShown = 2 * length >= stay.to - stay.from;
        shown_ += length >= kShortest && isShown ? 1 : 0;
        partly_ += length >= kShortest && !isShown ? 1 : 0;
    }
}

double StayScore::f1() const {
    const auto hits = static_cast<double>(hits_);
    return 2.0 * hits / (hits + static_cast<double>(true_ + wrong_));
}

double StayScore::bestF1() const {
    const auto shown = static_cast<double>(shown_);
    return 2.0 * shown / (shown + static_cast<double>(true_ + partly_));
}

double StayScore::splitShare() const {
    return static_cast<double>(split_) / static_cast<double>(true_);
}

double StayScore::mergedShare() const {
    return static_cast<double>(merged_) / static_cast<double>(found_);
}

double StayScore::quantile(std::vector<double> values, double share) {
    if (values.empty()) {
        return 0.0;
    }
    const auto at = static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + at, values.end());
    return values[static_cast<std::size_t>(at)];
}

} // namespace world
