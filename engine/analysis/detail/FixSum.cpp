#include "engine/analysis/detail/FixSum.h"

#include <algorithm>
#include <cmath>

namespace qorvel_engine::detail {

FixSum::FixSum(const EarthPoint& at, double accuracy) : centre_(at), farthest_(at), count_(1) {
    constexpr double kNowhere = 1e8; // farther off than anything is: keeps weights above 0
    const double sure = std::clamp(accuracy, 1.0, kNowhere);
    weight_ = 1.0 / (sure * sure);
}

void FixSum::add(const FixSum& other) {
    if (count_ == 0) {
        *this = other;
        return;
    }
    const double weight = weight_ + other.weight_;
    const double share = other.weight_ / weight;
    scatter_ += other.scatter_ + squaredDistance(centre_, other.centre_) * weight_ * share;
    centre_.x += (other.centre_.x - centre_.x) * share;
    centre_.y += (other.centre_.y - centre_.y) * share;
    centre_.z += (other.centre_.z - centre_.z) * share;
    weight_ = weight;
    count_ += other.count_;
}

void FixSum::reach(const FixSum& other, const EarthPoint& point) {
    if (squaredDistance(other.farthest_, point) > squaredDistance(farthest_, point)) {
        farthest_ = other.farthest_;
    }
}

double FixSum::spread() const {
    return std::sqrt(scatter_ / weight_);
}

double FixSum::farthest() const {
    return std::sqrt(squaredDistance(farthest_, centre_));
}

void FixSum::save(StateWriter& out) const {
    out.f64(weight_);
    savePoint(centre_, out);
    savePoint(farthest_, out);
    out.f64(scatter_);
    out.u64(count_);
}

void FixSum::load(StateReader& in) {
    constexpr double kMost = 1e100; // what is summed up is far from overflowing
    weight_ = in.within(kMost);
    centre_ = loadPoint(in);
    farthest_ = loadPoint(in);
    scatter_ = in.within(kMost);
    count_ = in.u64();
    in.expect(weight_ >= 0.0 && scatter_ >= 0.0 && (count_ == 0) == (weight_ == 0.0));
}

} // namespace qorvel_engine::detail
