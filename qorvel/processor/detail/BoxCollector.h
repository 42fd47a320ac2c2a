#ifndef QORVEL_PROCESSOR_DETAIL_BOXCOLLECTOR_H
#define QORVEL_PROCESSOR_DETAIL_BOXCOLLECTOR_H

#include "qorvel/model/SpaceTimeBox.h"
#include "qorvel/model/hash_SpaceTimeBox.h"

#include <algorithm>
#include <cstddef>
#include <list>
#include <unordered_set>

namespace qorvel_detail {

/// Distinct boxes (SpaceTimeBox or ExtendedSTB) in the order of their first insertion. Mostly there
/// are a few, which are compared one by one; from kMany on a set finds the equal one.
template <typename Box>
class BoxCollector {
public:
    void insert(const Box& box) {
        if (contains(box)) {
            return;
        }
        boxes_.push_back(box);
        if (boxes_.size() == kMany) {
            for (const Box& known : boxes_) {
                index_.insert(&known);
            }
        } else if (boxes_.size() > kMany) {
            index_.insert(&boxes_.back());
        }
    }

    /// Hands the boxes over, in front of what `out` holds. Never throws.
    void moveInFrontOf(std::list<Box>& out) noexcept { out.splice(out.begin(), boxes_); }

private:
    static constexpr std::size_t kMany = 32;

    struct Hash {
        std::size_t operator()(const Box* box) const {
            return static_cast<std::size_t>(hash_SpaceTimeBox()(*box));
        }
    };
    struct Equal {
        bool operator()(const Box* a, const Box* b) const { return *a == *b; }
    };

    bool contains(const Box& box) const {
        return boxes_.size() < kMany ? std::find(boxes_.begin(), boxes_.end(), box) != boxes_.end()
                                     : index_.find(&box) != index_.end();
    }

    std::list<Box> boxes_;
    std::unordered_set<const Box*, Hash, Equal> index_;
};

} // namespace qorvel_detail

#endif
